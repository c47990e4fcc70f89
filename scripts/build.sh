# Sourced by the other scripts; $here is the project's folder.
. "$here/scripts/install.sh"

# Prints what stands at the head of the script.
help() {
    sed -n '2,/^[^#]/s/^# \?//p' "$0"
    exit
}
case ${1-} in
    -h | --help) help ;;
esac

# Says which part of a path is why it cannot be written.
say_unwritable() {
    local path=$1 why='is read-only'
    until [ -e "$path" ] || [ -L "$path" ]; do path=$(dirname "$path"); done
    if [ ! -e "$path" ]; then
        why='is a link to nothing'
    elif [ -f "$path" ] && [ -w "$path" ]; then
        why='is a file'
    elif [ "$(id -u)" -ne 0 ] && [ ! -O "$path" ]; then
        why="belongs to $(stat -c %U "$path"): use a checkout of your own"
    fi
    echo "Cannot write $1: $path $why." >&2
}

# Makes the folder build/NAME where it is missing, and locks it as lock does.
build_folder() {
    mkdir -p "$here/build/$1" 2>/dev/null || { say_unwritable "$here/build/$1" && return 1; }
    lock "$here/build/$1"
}

# Configures and builds a preset, or of it what --target names; the output is shown only when it fails. The caller
# stays in its folder, to which the paths that a person gives are relative.
build_preset() (
    folder=$here/build/$1
    build_folder "$1" || exit
    found=$(find "$folder" ! -type l ! -writable -print -quit)
    [ -z "$found" ] || { say_unwritable "$found" && exit 1; }
    home=$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' "$folder/CMakeCache.txt" 2>/dev/null || true)
    if [ "$home" ] && [ ! "$home" -ef "$here" ]; then
        echo "build/$1 was made in another folder: making it anew" >&2
        find "$folder" -mindepth 1 -delete
    fi
    cd "$here"
    output=$(cmake --preset "$1" 2>&1 && cmake --build --preset "$@" 2>&1) || {
        printf '%s\n' "$output" "The $1 build failed." >&2
        exit 1
    }
)
