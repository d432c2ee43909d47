# SPDX-License-Identifier: LGPL-2.1-or-later
# Sourced by ./demo and its story: shows one call of the client and checks the status that it shows.
SCENES=0
SCENE_FAILURES=0
SCENE_OUTPUT=

chapter() { # TEXT
    printf '\n== %s\n' "$1"
}

# shown TEXT EXPECTED-STATUS: prints what the client said, which SCENE_OUTPUT holds
shown() {
    SCENES=$((SCENES + 1))
    printf '\n# %s\n%s\n' "$1" "$SCENE_OUTPUT"
    grep -qE "^[A-Za-z]+\([^)]*\) +$2 [A-Za-z]" <<<"$SCENE_OUTPUT" || {
        echo "    this should have been status $2"
        SCENE_FAILURES=$((SCENE_FAILURES + 1))
    }
}

# scene TEXT EXPECTED-STATUS CLIENT-ARGUMENTS...: secrets come on standard input, a line each
scene() {
    local text=$1 expected=$2
    shift 2
    SCENE_OUTPUT=$("$bin/kelaccount" --line --password-fd 0 "$@")
    shown "$text" "$expected"
}

# expect TEXT PATTERN: whether SCENE_OUTPUT holds what the story says
expect() {
    grep -qE "$2" <<<"$SCENE_OUTPUT" || {
        echo "    this should have shown $1"
        SCENE_FAILURES=$((SCENE_FAILURES + 1))
    }
}

# also TEXT COMMAND...: shows what another program says
also() {
    printf '\n# %s\n' "$1"
    shift
    SCENE_OUTPUT=$("$@") || {
        echo "    '$1' should have ended with 0"
        SCENE_FAILURES=$((SCENE_FAILURES + 1))
    }
    sed 's/^/    /' <<<"$SCENE_OUTPUT"
}

# Reports to the caller by a line and by the exit status.
finish_scenes() {
    echo
    if [ $SCENE_FAILURES -eq 0 ]; then
        echo "==> all $SCENES calls were answered as they should"
        return 0
    fi
    echo "==> $SCENE_FAILURES of $SCENES calls were not answered as they should"
    return 1
}
