# SPDX-License-Identifier: LGPL-2.1-or-later
# Sourced by ./demo and ./test: configures a preset when that is due and builds it.
# Ninja shows its progress on one line of a terminal and line by line elsewhere.

# What cannot be compiled together with other files may well be by itself, which takes longer.
kel_build_apart() { # DIRECTORY [TARGET...]
    local directory=$1
    shift
    grep -qE '^CMAKE_UNITY_BUILD:[A-Z]+=ON$' "$directory/CMakeCache.txt" || return 1
    echo "==> building file by file"
    cmake -DCMAKE_UNITY_BUILD=OFF "$directory" >>"$directory/configure.log" 2>&1 && ninja -C "$directory" "$@"
}

kel_configure() { # PRESET
    local preset=$1 directory="$KEL_ROOT/build/$1" log
    if [ ! -f "$directory/build.ninja" ]; then
        echo "==> configuring $preset"
        mkdir -p "$directory"
        log="$directory/configure.log"
        (cd "$KEL_ROOT" && cmake --preset "$preset") >"$log" 2>&1 || {
            cat "$log" >&2
            rm -f "$directory/build.ninja"
            echo "Configuring failed; the lines above say why." >&2
            return 1
        }
    fi
}

kel_build() { # PRESET [TARGET...]
    local preset=$1 directory="$KEL_ROOT/build/$1"
    kel_configure "$preset" || return 1
    shift
    # Nothing to do: say nothing.
    if [ "$(ninja -C "$directory" -n "$@" 2>/dev/null | tail -n 1)" = "ninja: no work to do." ]; then
        return 0
    fi
    echo "==> building $preset"
    ninja -C "$directory" "$@" || kel_build_apart "$directory" "$@" || {
        echo "The build failed; the lines above say where." >&2
        return 1
    }
}
