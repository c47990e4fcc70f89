# Sourced by the other scripts: installs Debian packages that are missing. When it cannot, missing names them.

install_packages() {
    local package
    missing=()
    for package in "$@"; do
        dpkg-query -W -f '${db:Status-Status}\n' "$package" 2>/dev/null | grep -qx installed ||
            missing+=("$package")
    done
    [ ${#missing[@]} -gt 0 ] || return 0
    local as_root=()
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || {
            echo "Missing packages: ${missing[*]}. Install them, or run this as root." >&2
            return 1
        }
        as_root=(sudo)
    fi
    echo "Installing ${missing[*]} (a minute or a few)"
    local log
    log=$(mktemp)
    if ! { "${as_root[@]}" apt-get update &&
        "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y \
            --no-install-recommends "${missing[@]}"; } >"$log" 2>&1; then
        cat "$log" >&2
        rm -f "$log"
        echo "Could not install ${missing[*]}." >&2
        return 1
    fi
    rm -f "$log"
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
