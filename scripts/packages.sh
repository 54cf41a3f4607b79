# The Debian 12 packages that each kind of work needs; sourced by ./run, ./test and .ci/run.

build_packages=(
  g++ cmake ninja-build pkg-config ccache ca-certificates
  libssl-dev libplist-dev libicu-dev libcli11-dev nlohmann-json3-dev
)
test_packages=(
  libgtest-dev libgmock-dev libbenchmark-dev openssl locales
)
check_packages=(
  clang-14 clang-tidy-14 clang-format-14 libc++-14-dev libc++abi-14-dev libclang-rt-14-dev
  git python3
)
