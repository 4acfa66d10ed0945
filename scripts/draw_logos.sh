#!/usr/bin/env bash
# Draws the application icons (a flatbed scanner with its scan line) with ImageMagick.
# The .ico files are committed; run this only to change them.
set -euo pipefail
out=$(cd "$(dirname "$0")/../modules/twainui/image_rsc/logo" && pwd)
tmp=$(mktemp -d); trap 'rm -rf "$tmp"' EXIT

draw() { # name top-colour bottom-colour letter
  local name=$1 top=$2 bottom=$3 letter=$4
  convert -size 256x256 gradient:"$top"-"$bottom" \
    \( -size 256x256 xc:black -fill white -draw "roundrectangle 8,8 247,247 44,44" \) \
    -alpha off -compose CopyOpacity -composite -compose Over \
    -fill 'rgba(255,255,255,0.95)' -draw "roundrectangle 36,150 220,206 14,14" \
    -fill 'rgba(255,255,255,0.55)' -draw "polygon 44,142 212,142 196,104 60,104" \
    -fill '#7fe3ff' -draw "rectangle 48,170 208,178" \
    -fill 'rgba(0,0,0,0.25)' -draw "rectangle 36,196 220,206" \
    "$tmp/$name.png"
  if [ -n "$letter" ]; then
    convert "$tmp/$name.png" -font DejaVu-Sans-Bold -pointsize 84 -fill white \
      -gravity North -annotate +0+10 "$letter" "$tmp/$name.png"
  fi
  convert "$tmp/$name.png" -define icon:auto-resize=256,64,48,32,16 "$out/$name.ico"
}

draw logo '#5b6b82' '#2d3748' ''
draw zytrascan '#3b82e0' '#174a9c' 'Z'
draw korrin '#2fae8a' '#0f5e4b' 'K'
draw velmarscan '#d9474f' '#8c1c23' 'V'
