# Sourced by the other scripts; $here is the project's folder.
. "$here/scripts/install.sh"

# Configures and builds a preset, or of it what --target names; the output is shown only when it fails. The caller
# stays in its folder, to which the paths that a person gives are relative.
build_preset() {
    local preset=$1 build=$here/build/$1 log
    if ! mkdir -p "$build" 2>/dev/null || [ -n "$(find "$build" ! -type l ! -writable -print -quit)" ]; then
        echo "$build cannot be written, another user made it: use a checkout of your own." >&2
        return 1
    fi
    log=$(mktemp)
    if ! (cd "$here" && cmake --preset "$preset" && cmake --build --preset "$@") >"$log" 2>&1; then
        cat "$log" >&2
        rm -f "$log"
        echo "The $preset build failed." >&2
        return 1
    fi
    rm -f "$log"
}
