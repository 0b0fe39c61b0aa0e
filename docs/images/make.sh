#!/bin/sh
# docs/images/make.sh MMSKIT: the pictures of the documents, taken in chromium. ./run browser-test
# brings what it needs; ImageMagick makes them small.
set -eu
cd "$(dirname "$0")"
made=$(mktemp -d)
trap 'rm -rf "$made"' EXIT
"$1" preview ../../examples/postcard.mms -o "$made/postcard.html"
node ../../tests/browser/screenshots.mjs "$made" --height 800 "$made/postcard.html"
convert "$made/postcard.png" -strip +dither -colors 255 -define png:compression-level=9 postcard.png
