#!/usr/bin/env python3
"""Checks the shape of the house: which folder may include which, that every source and test is in a
build file, that every source has a test, that installed headers need no other, and that the system
chooses its platform by file."""

import re
import subprocess
import sys
from pathlib import Path

TOP = Path(__file__).resolve().parent.parent

# Each layer and the layers below it that it may include.
MAY_INCLUDE = {
    "base": set(),
    "platform": {"base"},
    "smc": {"base", "platform"},
    "database": {"base", "platform"},
    "sensors": {"base", "platform", "smc", "database"},
    "selftest": {"base", "platform", "smc", "sensors"},
    "host": {"base", "platform", "smc", "database", "sensors", "selftest"},
    "bench": {"base", "platform", "smc", "database", "sensors", "selftest"},
}
# The system meets machines only through the platform's calls; hosts choose one.
SYSTEM_LAYERS = {"smc", "database", "sensors", "selftest"}
# Where the test of a source lies.
TEST_FOLDERS = {
    "base": "tests/unit/base",
    "platform/machine": "tests/unit/platform",
    "platform/machine/fans": "tests/unit/platform",
    "platform/machine/foreign": "tests/foreign",
    "platform/machine/linux": "tests/unit/platform",
    "platform/machine/remote": "tests/unit/platform",
    "platform/macos": "tests/contract",
    "platform/posix": "tests/contract",
    "smc": "tests/unit/smc",
    "database": "tests/unit/database",
    "database/packer": "tests/unit/database",
    "sensors": "tests/unit/sensors",
    "selftest": "tests/unit/selftest",
    "host": "tests/unit/host",
    "host/fans": "tests/unit/host",
    "host/fantest": "tests/unit/host",
}
# Sources that tests reach only through a whole program, and which test that is.
TESTED_THROUGH_PROGRAM = {
    "platform/machine/foreign/UnchosenMachine.cpp": "tests/foreign/ForeignClientTest.cpp",
    "database/packer/main.cpp": "tests/program/PackerTest.cpp",
    "host/Controller.cpp": "tests/program/KeysTest.cpp",
    "host/DescriptorsCommand.cpp": "tests/program/DescriptorsTest.cpp",
    "host/Facade.cpp": "tests/program/SensorsTest.cpp",
    "host/fans/FanCommand.cpp": "tests/program/FanTest.cpp",
    "host/fans/FansCommand.cpp": "tests/program/FansTest.cpp",
    "host/fantest/FanBatch.cpp": "tests/program/TestFansTest.cpp",
    "host/fantest/TestDisplay.cpp": "tests/program/FanTestReleaseTest.cpp",
    "host/fantest/TestFansCommand.cpp": "tests/program/TestFansTest.cpp",
    "host/fans/GuardianCommand.cpp": "tests/program/HandBackTest.cpp",
    "host/KeysCommand.cpp": "tests/program/KeysTest.cpp",
    "host/LostKeys.cpp": "tests/program/LostKeysTest.cpp",
    "host/MachineChoice.cpp": "tests/program/MachineOptionsTest.cpp",
    "host/MachineOption.cpp": "tests/program/MachineOptionsTest.cpp",
    "host/MachineDump.cpp": "tests/program/KeysTest.cpp",
    "host/ModelsCommand.cpp": "tests/program/ModelsTest.cpp",
    "host/Options.cpp": "tests/program/UsageTest.cpp",
    "host/OverviewCommand.cpp": "tests/program/OverviewTest.cpp",
    "host/SensorsCommand.cpp": "tests/program/SensorsTest.cpp",
    "host/TestSensorsCommand.cpp": "tests/program/TestSensorsTest.cpp",
    "host/Watch.cpp": "tests/program/FansTest.cpp",
    "host/main.cpp": "tests/program/UsageTest.cpp",
}
# Bodies whose test has another name.
TESTED_ELSEWHERE = {
    "platform/macos/CFObjects.cpp": "tests/darwin/CFObjectsTest.cpp",
    "platform/macos/MachineSeam.cpp": "tests/darwin/MachineSeamTest.cpp",
    "platform/macos/SystemLoop.cpp": "tests/darwin/MainQueueTest.cpp",
}
OWN_INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"')
PLATFORM_CHOICE = re.compile(r"^\s*#\s*(if|ifdef|ifndef|elif)\b.*\b(__APPLE__|__linux__|_WIN32)\b")


def tracked_files():
    listed = subprocess.run(
        ["git", "ls-files", "--cached", "--others", "--exclude-standard"],
        cwd=TOP, check=True, capture_output=True, text=True).stdout
    return sorted(path for path in listed.splitlines() if (TOP / path).is_file())


def include_faults(path, text):
    layer = path.split("/")[0]
    if layer not in MAY_INCLUDE:
        return
    for number, line in enumerate(text.splitlines(), 1):
        match = OWN_INCLUDE.match(line)
        if match is None:
            continue
        target = match.group(1)
        below = target.split("/")[0]
        if "/" not in target:
            yield f"{path}:{number}: includes start at the top folder: {target}"
        elif below != layer and below not in MAY_INCLUDE[layer]:
            yield f"{path}:{number}: {layer} may not include {below}"
        elif layer in SYSTEM_LAYERS and target.startswith("platform/machine/"):
            yield f"{path}:{number}: the system asks the platform, not a machine: {target}"
        elif layer != "platform" and target.startswith(("platform/posix/", "platform/macos/")):
            yield f"{path}:{number}: bodies are not included: {target}"


def choice_faults(path, text):
    for number, line in enumerate(text.splitlines(), 1):
        if PLATFORM_CHOICE.match(line):
            yield f"{path}:{number}: the platform is chosen by file, not by #if"


def build_faults(path):
    folder = (TOP / path).parent
    while not (folder / "CMakeLists.txt").exists():
        folder = folder.parent
    name = str((TOP / path).relative_to(folder))
    listed = "\n".join(other.read_text() for other in TOP.glob("**/CMakeLists.txt")
                       if "build" not in other.relative_to(TOP).parts)
    if not re.search(rf"(?<![\w/]){re.escape(name)}(?!\w)", (folder / "CMakeLists.txt").read_text()):
        if not re.search(rf"[/\s]{re.escape(Path(path).name)}(?!\w)", listed):
            yield f"{path}: in no build file"


def public_headers():
    """What the installed library brings, by the list in the top build file."""
    listed = re.search(r"PUBLIC FILE_SET HEADERS(.*?)PUBLIC FILE_SET",
                       (TOP / "CMakeLists.txt").read_text(), re.S)
    return set(re.findall(r"\S+\.h\b", listed.group(1)))


def public_faults():
    """A header that clients include must not need one that stays behind."""
    public = public_headers()
    for path in sorted(public):
        for number, line in enumerate((TOP / path).read_text().splitlines(), 1):
            match = OWN_INCLUDE.match(line)
            if match is not None and match.group(1) not in public:
                yield f"{path}:{number}: is installed, but {match.group(1)} is not"


def test_faults(path):
    folder, name = path.rsplit("/", 1)
    if folder not in TEST_FOLDERS:
        return
    # Objective-C++ does not run here: the tests darwin_reads parse every such body.
    if path.endswith(".mm"):
        return
    usual = f"{TEST_FOLDERS[folder]}/{Path(name).stem}Test.cpp"
    test = TESTED_THROUGH_PROGRAM.get(path, TESTED_ELSEWHERE.get(path, usual))
    if not (TOP / test).exists():
        yield f"{path}: has no test {test}"


def main():
    faults = []
    files = tracked_files()
    for path in files:
        if not path.endswith((".c", ".cpp", ".h", ".mm")):
            continue
        text = (TOP / path).read_text()
        faults += include_faults(path, text)
        faults += choice_faults(path, text)
        if not path.endswith(".h"):
            faults += build_faults(path)
            faults += test_faults(path)
    faults += public_faults()
    for path, test in (TESTED_THROUGH_PROGRAM | TESTED_ELSEWHERE).items():
        if path not in files:
            faults.append(f"{path}: gone, but scripts/check-structure.py still names it ({test})")
    print("\n".join(faults) if faults else "structure: fine")
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main())
