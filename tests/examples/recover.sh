#!/usr/bin/env bash
# SPDX-License-Identifier: LGPL-2.1-or-later
# usage: recover.sh EMULATOR RECOVER-PASSWORD
# Sits in front of the example as a user does: reads the picture, the message and the questions, and answers.
set -euo pipefail
if [ "${3-}" != inside ]; then
    exec "$1" run -- "${BASH_SOURCE[0]}" "$1" "$2" inside
fi
emulator=$1
program=$2
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
export KELACCOUNT_CONSUMER_KEY=demo-key KELACCOUNT_CONSUMER_SECRET=demo-secret LC_ALL=C.UTF-8

"$emulator" accounts kim --make --set email=kim@mail.example --set password=forgotten \
    --set securityQuestion=4 --set "securityAnswer=Seven Brothers"

# converse ANSWER PASSWORD: what the program said goes to the file "said", its status to "status".
converse() {
    local line picture from to status=0
    coproc talk { exec "$program" kim; }
    local process=$talk_PID
    exec {from}<&"${talk[0]}" {to}>&"${talk[1]}"
    : >said
    while IFS= read -r -u "$from" line; do
        echo "$line" >>said
        case $line in
            "What does captcha.png say?")
                [ "$(head -c 4 captcha.png | tail -c 3)" = PNG ] || { echo "no picture"; exit 1; }
                picture=$("$emulator" captcha | tail -n 1)
                echo "${picture#* }" ;;
            *"Which code is in it?") "$emulator" inbox kim | tail -n 1 | tr -d ' ' ;;
            "What is your favourite book?") echo "$1" ;;
            "What is the new password to be?") echo "$2" ;;
        esac >&"$to"
    done
    exec {from}<&- {to}>&-
    wait "$process" || status=$?
    echo "$status" >status
}
password() { "$emulator" scenario | tr ',' '\n' | grep -o '"password": *"[^"]*"' | tail -n 1; }
check() { # WHAT EXPECTED FOUND
    [ "$2" = "$3" ] || { printf '%s:\n%s\ninstead of\n%s\n' "$1" "$3" "$2"; exit 1; }
}

asked='What does captcha.png say?
A message is on its way. Which code is in it?
What is your favourite book?
What is the new password to be?'

converse "no idea" unwanted
check "a wrong answer is told" "$asked
The account service did not accept the sign-in. Please check user name and password. (ZorKeLDefs::ErrorNotAuthorized)" \
    "$(<said)"
check "its exit status" 1 "$(<status)"
check "the password after it" '"password": "forgotten"' "$(password | sed 's/: */: /')"

converse "Seven Brothers" "a new one"
check "the right answer" "$asked
The password is changed." "$(<said)"
check "its exit status" 0 "$(<status)"
check "the password after it" '"password": "a new one"' "$(password | sed 's/: */: /')"
