#!/bin/sh
# Makes the media that the example messages carry: a picture, a sail and a sound, each drawn or
# played by a formula, so that anyone can make them again and nobody's rights are touched.
# Needs ffmpeg with its lavfi sources and libmp3lame; the result is committed in media/.
set -eu
out=$(CDPATH='' cd -- "$(dirname -- "$0")" && pwd)/media
mkdir -p "$out"

encode() { # encode FILTER-INPUT OPTIONS... FILE
    input=$1
    shift
    ffmpeg -nostdin -hide_banner -loglevel error -y -f lavfi -i "$input" \
        -map_metadata -1 -fflags +bitexact -flags:v +bitexact -flags:a +bitexact -threads 1 "$@"
}

# A beach at sunset, 160x120: sky, sun with its glow, sea with waves and the sun's path, sand.
sky='lt(Y,62)'
sand='gt(Y,98+4*sin(X/23)+2*sin(X/7))'
sun='lt(hypot(X-104,Y-50),13)'
glow='exp(-hypot(X-104,(Y-50)*1.3)/34)'
wave='(10*sin(Y*1.9+3*sin(X/11))+6*sin(X/3+Y*Y/40))'
path='exp(-pow((X-104)/(5+(Y-62)/2.2),2))*(0.6+0.4*sin(Y*2.3+X/4))'
mix() { # mix SUN SKY-TOP SKY-LOW GLOW SEA-FAR SEA-NEAR PATH SAND
    printf "clip(if(%s,if(%s,%s,%s+(%s-(%s))*Y/62+%s*%s),if(%s,%s-(Y-98)/2+3*sin(X*Y),%s+(%s-(%s))*(Y-62)/40+%s+%s*%s)),0,255)" \
        "$sky" "$sun" "$1" "$2" "$3" "$2" "$4" "$glow" \
        "$sand" "$8" "$5" "$6" "$5" "$wave" "$7" "$path"
}
encode "nullsrc=s=160x120,format=gbrp,geq=r='$(mix 255 58 226 70 196 26 120 214)':g='$(mix 236 34 104 110 92 62 120 176)':b='$(mix 150 92 72 30 84 104 60 124)'" \
    -frames:v 1 -pix_fmt yuvj420p -c:v mjpeg -q:v 4 "$out/sunset.jpg"

# A sailing boat on a transparent ground, 64x64.
sail='between(Y,8,44)*between(X,34,34+(Y-8)*0.6)'
jib='between(Y,14,44)*between(X,30-(Y-14)*0.55,30)'
mast='between(X,31,32)*between(Y,5,48)'
hull='between(Y,47,56)*between(X,8+(Y-47)*1.2,56-(Y-47)*1.4)'
any="gt($sail+$jib+$mast+$hull,0)"
boat() { printf "if(%s,%s,if(%s,%s,if(%s,%s,%s)))" "$sail" "$1" "$jib" "$2" "$mast" "$3" "$4"; }
encode "nullsrc=s=64x64,format=gbrap,geq=r='$(boat 250 224 110 170)':g='$(boat 250 84 72 44)':b='$(boat 244 66 40 40)':a='255*$any'" \
    -frames:v 1 -pix_fmt rgba -c:v png "$out/boat.png"

# Two seconds of surf and three notes of a bell.
bell() { printf "0.3*exp(-4*(t-%s))*gte(t,%s)*(sin(2*PI*%s*t)+0.4*sin(2*PI*%s*2.76*t))" "$1" "$1" "$2" "$2"; }
encode "aevalsrc='0.10*(random(0)-0.5)*(1+sin(PI*t-1.2))+$(bell 0.2 523.25)+$(bell 0.6 659.25)+$(bell 1.0 783.99)':s=16000:d=2" \
    -ac 1 -c:a libmp3lame -b:a 24k -write_xing 0 -id3v2_version 0 "$out/surf.mp3"

ls -l "$out"
