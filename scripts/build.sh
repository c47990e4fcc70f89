# Sourced by the other scripts; $here is the project's folder.
. "$here/scripts/install.sh"

# Configures and builds a preset, or of it what --target names; the output is shown only when it fails.
build_preset() {
    local preset=$1 log
    log=$(mktemp)
    if ! { cd "$here" && cmake --preset "$preset" && cmake --build --preset "$@"; } >"$log" 2>&1; then
        cat "$log" >&2
        rm -f "$log"
        echo "The $preset build failed." >&2
        return 1
    fi
    rm -f "$log"
}
