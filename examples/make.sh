#!/bin/sh
# Writes the example messages with the mmskit command, from their JSON files; two that it cannot
# compose are written byte by byte (OMA-MMS-ENC, WAP-230).
#
#   make.sh MMSKIT OUTPUT-DIR
set -eu
LC_ALL=C
export LC_ALL
[ $# -ge 2 ] || {
    echo "usage: make.sh MMSKIT OUTPUT-DIR" >&2
    exit 2
}
here=$(CDPATH='' cd -- "$(dirname -- "$0")" && pwd)
mmskit=$1 out=$2

octet() { printf "\\$(printf '%03o' "$1")"; }
uintvar() { # up to 16383
    [ "$1" -lt 128 ] || octet $((128 + $1 / 128))
    octet $(($1 % 128))
}

# headers ID SUBJECT MORE: a retrieved message up to its body. The subject is ASCII and short.
headers() {
    printf '\214\204\230T-%s\0\215\222\213%s@mmsc.example\0' "$1" "$1"
    printf '\205\4\150\213\241\020' # 31 July 2025, 17:00 UTC
    printf '\211\025\200+15550100/TYPE=PLMN\0\227+15550123/TYPE=PLMN\0'
    printf '\226' && octet $((${#2} + 2)) && printf '\352%s\0' "$2"
    printf "$3"'\212\200'
}

no_smil_text='No slides were laid out for this one.'

body_no_smil() { # multipart/mixed: a text without a name, a picture called by its type's Name
    printf '\204\243\2'
    uintvar 4 && uintvar ${#no_smil_text} && printf '\3\203\201\352%s' "$no_smil_text"
    uintvar 12 && uintvar "$(($(wc -c <"$here/media/boat.png")))"
    printf '\013\240\205boat.png\0'
    cat "$here/media/boat.png"
}

body_single_text() { # no multipart at all
    printf '\204\3\203\201\352Just this line – nothing else.'
}

for json in "$here"/*.json; do
    name=$(basename "$json" .json)
    "$mmskit" compose "$json" --retrieved -o "$out/$name.mms"
done
{ headers no-smil 'Two parts, no slides' '\217\200' && body_no_smil; } >"$out/no-smil.mms"
{ headers single-text 'One text' '' && body_single_text; } >"$out/single-text.mms"
