# SPDX-License-Identifier: LGPL-2.1-or-later
# Sourced by ./demo and ./test: installs the Debian packages of the named sections,
# asking apt only for what is missing.

kel_wanted_packages() { # SECTION...
    awk -v wanted=" $* " '
        /^[[:space:]]*(#|$)/ { next }
        /^\[/ { section = substr($0, 2, length($0) - 2); next }
        index(wanted, " " section " ") { print $1 }
    ' "$KEL_ROOT/packaging/packages.txt" | sort -u
}

kel_install_packages() { # SECTION...
    local package missing=() as_root=() log
    for package in $(kel_wanted_packages "$@"); do
        [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null)" = installed ] ||
            missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return 0

    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null || {
            echo "These packages are missing and need root to install: ${missing[*]}" >&2
            return 1
        }
        as_root=(sudo)
    fi
    echo "==> installing ${#missing[@]} packages: ${missing[*]}"
    log=$(mktemp) || return 1
    # The package lists of a new machine are empty or old: fetch them once, then install.
    "${as_root[@]}" apt-get update -qq &&
        "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive \
            apt-get install -y -qq --no-install-recommends -o Dpkg::Use-Pty=0 "${missing[@]}" \
            >"$log" 2>&1 || {
        cat "$log" >&2
        rm -f "$log"
        echo "Installing the packages failed; the lines above say why." >&2
        return 1
    }
    rm -f "$log"
}
