#!/usr/bin/env python3
"""Configures the project as for macOS and checks that whatever is linked there gets every framework
whose names its own objects use: a library's frameworks do not serve the programs that link it.

check-frameworks.py SOURCE SCRATCH CLANG GTEST OBJECT...
GTEST is where GoogleTest's CMake package lies. The objects are those that were compiled here against
the declarations of the system's calls."""

import re
import shutil
import subprocess
import sys
from pathlib import Path

FRAMEWORK_OF_NAME = {
    "CoreFoundation": re.compile(r"k?CF[A-Z]"),
    "IOKit": re.compile(r"k?IO[A-Z]"),
    "Security": re.compile(r"k?Sec[A-Z]"),
}
FRAMEWORK_OF_INCLUDE = re.compile(r"^\s*#\s*(?:import|include) <(\w+)/\w+\.h>", re.M)
FRAMEWORKS = {*FRAMEWORK_OF_NAME, "AppKit", "Foundation"}
LINKED = re.compile(r"^build [^:\n]*: \w+_LINKER__(\S+) ([^|\n]*).*\n(?:  .*\n)*", re.M)
MUST_BE_LINKED = {"halvarin", "halvarin-program", "halvarin-pack", "contract_macos"}


def configured(source, scratch, clang, gtest):
    """The build file that CMake makes for macOS; nothing of it can be linked here."""
    shutil.rmtree(scratch, ignore_errors=True)
    languages = ("C", "CXX", "OBJCXX")
    subprocess.run(
        ["cmake", "-S", source, "-B", scratch, "-G", "Ninja", "-DCMAKE_SYSTEM_NAME=Darwin",
         "-DCMAKE_BUILD_TYPE=Release", "-DCMAKE_INSTALL_NAME_TOOL=unused", "-DHALVARIN_TESTS=ON", f"-DGTest_DIR={gtest}",
         *(f"-DCMAKE_{each}_COMPILER={clang}" for each in languages),
         *(f"-DCMAKE_{each}_COMPILER_WORKS=ON" for each in languages)],
        check=True, stdout=subprocess.DEVNULL)
    return (Path(scratch) / "build.ninja").read_text()


def source_of(built):
    """The path of an object's source, of "host/CMakeFiles/halvarin_host.dir/Exit.cpp.o" and of
    ".../CMakeFiles/darwin_host.dir/./__/__/host/Exit.cpp.o" alike."""
    folder, path = re.fullmatch(r"(.*?)/?CMakeFiles/[^/]+\.dir/(.*)\.o", built).groups()
    elsewhere = re.sub(r"^(\./)?(__/)+", "", path)
    return elsewhere if elsewhere != path else f"{folder}/{path}"


def undefined_names(objects):
    """The names that each source leaves to the linker."""
    names = {source_of(each): set() for each in objects}
    listed = subprocess.run(["nm", "-u", "-A", *objects], check=True, capture_output=True, text=True)
    for built, name in re.findall(r"^(.*?):\s+U (\S+)$", listed.stdout, re.M):
        names[source_of(built)].add(name)
    return names


def needed(source, top, compiled):
    """Each framework that a source needs, and by which name. What is not compiled here,
    Objective-C++ above all, needs those whose headers it names."""
    if source in compiled:
        return {framework: name for name in sorted(compiled[source])
                for framework, pattern in FRAMEWORK_OF_NAME.items() if pattern.match(name)}
    path = top / source
    text = path.read_text() if path.exists() else ""  # what CMake writes names no framework
    return {name: f"<{name}/...>" for name in FRAMEWORK_OF_INCLUDE.findall(text)
            if name in FRAMEWORKS}


def faults(ninja, top, compiled):
    linked = set()
    for rule in LINKED.finditer(ninja):
        target = rule.group(1).rsplit("_", 1)[0]
        linked.add(target)
        given = set(re.findall(r"-framework (\w+)", rule.group(0)))
        for source in map(source_of, re.findall(r"\S+\.o(?=\s)", rule.group(2))):
            for framework, name in needed(source, top, compiled).items():
                if framework not in given:
                    yield f"{target}: {source} uses {name} without -framework {framework}"
    for target in sorted(MUST_BE_LINKED - linked):
        yield f"{target}: not linked"


def main():
    source, scratch, clang, gtest, *objects = sys.argv[1:]
    ninja = configured(source, scratch, clang, gtest)
    found = list(faults(ninja, Path(source), undefined_names(objects)))
    print("\n".join(found) if found else "frameworks: fine")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main())
