# What every script needs. They source this file, and $here is the project's folder.
export LC_ALL=C.UTF-8 # so that Java can read every character of a path
trap 'exit 130' INT   # because a program that runs may catch Ctrl-C and exit with 0

# Locks a file or folder until the shell or subshell that calls this ends, because two runs in one checkout would
# disturb each other.
lock() {
    local held
    exec {held}<"$1"
    flock -n "$held" || { echo "Waiting for another run, which has locked $1" >&2 && flock "$held"; }
}

# Installs those of the Debian packages that are missing. If it fails, $missing names them.
install_packages() {
    local package as_root=()
    missing=()
    for package in "$@"; do
        dpkg-query -W -f '${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed ||
            missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    [ "$(id -u)" -eq 0 ] || as_root=(sudo)
    if [ "${PIPELINE_INSTALL-}" = no ] || ! command -v "${as_root[@]}" >/dev/null; then
        echo "Missing packages: ${missing[*]}. Install them, or run this as root and without PIPELINE_INSTALL=no." >&2
        return 1
    fi
    echo "Installing, which takes a few minutes (PIPELINE_INSTALL=no forbids it): ${missing[*]}"
    (
        lock "$here/scripts/install.sh"
        output=$("${as_root[@]}" apt-get update 2>&1 &&
            "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y --no-install-recommends \
                "${missing[@]}" 2>&1) || {
            printf '%s\n' "$output" "Could not install ${missing[*]}." >&2
            exit 1
        }
    )
}

demo_packages=(cmake ninja-build g++ openjdk-17-jdk-headless pkg-config libdvbv5-dev libdvbpsi-dev libudev-dev
    dtv-scan-tables android-liblog-dev android-libutils-dev android-libcutils-dev android-libnativehelper-dev)
contract_packages=(openjdk-17-jdk-headless libasm-java libsmali-java)
build_packages=("${demo_packages[@]}" "${contract_packages[@]}" googletest perl)
android_packages=(android-libart android-libnativeloader android-lib{base,backtrace,ziparchive}-dev libicu4j-java
    libicu-dev zlib1g-dev liblz4-1)
arm_packages=(clang lld llvm qemu-user)
bench_packages=(libbenchmark-dev jq)
lint_packages=(clang-format clang-tidy libbenchmark-dev)
soong_packages=(blueprint-tools golang-go golang-android-soong-dev golang-github-google-blueprint-dev
    golang-github-golang-protobuf-1-3-dev)
fuzz_packages=(clang libclang-rt-14-dev)
