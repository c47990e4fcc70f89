# Sourced by the other scripts; $here is the project's folder.
. "$here/scripts/install.sh"

# Prints the comment at the top of the script.
help() {
    sed -n '2,/^[^#]/s/^# \?//p' "$0"
    exit
}
case ${1-} in
    -h | --help) help ;;
esac

# Says which part of a path makes it unwritable, and why.
say_unwritable() {
    local path=$1 why='is read-only'
    until [ -e "$path" ] || [ -L "$path" ]; do path=$(dirname "$path"); done
    if [ ! -e "$path" ]; then
        why='is a broken link'
    elif [ -f "$path" ] && [ -w "$path" ]; then
        why='is a file'
    elif [ "$(id -u)" -ne 0 ] && [ ! -O "$path" ]; then
        why="belongs to $(stat -c %U "$path"): use a checkout of your own"
    fi
    echo "Cannot write $1: $path $why." >&2
}

# Makes the folder build/NAME if it is missing, and locks it with lock.
build_folder() {
    mkdir -p "$here/build/$1" 2>/dev/null || { say_unwritable "$here/build/$1" && return 1; }
    lock "$here/build/$1"
}

# Configures and builds a preset, or only what --target names. The output is shown only on failure. The caller's current
# folder does not change, because the paths on the command line are relative to it.
build_preset() (
    folder=$here/build/$1
    build_folder "$1" || exit
    found=$(find "$folder" ! -type l ! -writable -print -quit)
    [ -z "$found" ] || { say_unwritable "$found" && exit 1; }
    home=$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' "$folder/CMakeCache.txt" 2>/dev/null || true)
    if [ "$home" ] && [ ! "$home" -ef "$here" ]; then
        echo "build/$1 was configured in another folder: starting again" >&2
        find "$folder" -mindepth 1 -delete
    fi
    cd "$here"
    output=$(cmake --preset "$1" 2>&1 && cmake --build --preset "$@" 2>&1) || {
        printf '%s\n' "$output" "The $1 build failed." >&2
        exit 1
    }
)
