#!/usr/bin/env bash
# Renders the vector artwork for the resource compiler.
#
#   tools/render-artwork.sh OUTDIR
#
# Leaves OUTDIR/NAME.bmp (192 x 192, 32 bits, premultiplied alpha) for every drawing in src/resources/art and
# OUTDIR/QevBackup.ico (16 to 256 pixels) from IMAGEN. A file is made again only if its drawing or this script is newer;
# it is written beside its place and moved there, so that a build that stops half way leaves no half file.
# Needs rsvg-convert and ImageMagick (tools/install.sh). Nothing but the pixels goes into the output: the same drawings give
# the same bytes.
set -euo pipefail

if [ $# -ne 1 ]; then
  echo "usage: $0 OUTDIR" >&2
  exit 2
fi

tools=$(cd "$(dirname "$0")" && pwd)
art=$(cd "$tools/../src/resources/art" && pwd)
mkdir -p "$1"
out=$(cd "$1" && pwd)
work=$(mktemp -d "$out/.render.XXXXXX")
trap 'rm -rf "$work"' EXIT
trap 'exit 1' HUP INT TERM

# Whether $2, made from the drawing $1, is missing or older than the drawing or this script.
is_stale() {
  [ ! -e "$2" ] || [ "$1" -nt "$2" ] || [ "$tools/render-artwork.sh" -nt "$2" ]
}

# Renders the drawing $1 at $2 x $2 pixels as the PNG $3.
render() {
  rsvg-convert --format=png --width="$2" --height="$2" --output="$3" "$1"
}

# The picture $1 of 192 x 192 pixels as a bitmap: BITMAPFILEHEADER, a plain BITMAPINFOHEADER (BI_RGB, 32 bits, bottom-up),
# then BGRA rows with the colour multiplied by alpha, which is what AlphaBlend with AC_SRC_ALPHA expects.
bitmap() {
  printf 'BM\x36\x40\x02\0\0\0\0\0\x36\0\0\0'
  printf '\x28\0\0\0\xc0\0\0\0\xc0\0\0\0\x01\0\x20\0\0\0\0\0\0\x40\x02\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0'
  convert "$1" -channel RGB -fx 'round(255*u*u.a)/255' +channel -flip -depth 8 BGRA:-
}

for name in IMAGEN BACKUP RESTAURAR REALIZANDO BACKUPOK BACKUPERROR ACEPTAR CANCELAR CARPETA SALIR; do
  drawing=$art/$name.svg
  is_stale "$drawing" "$out/$name.bmp" || continue
  render "$drawing" 192 "$work/$name.png"
  bitmap "$work/$name.png" >"$work/$name.bmp"
  mv "$work/$name.bmp" "$out/$name.bmp"
done

if is_stale "$art/IMAGEN.svg" "$out/QevBackup.ico"; then
  set --
  for size in 16 20 24 32 48 64 256; do
    render "$art/IMAGEN.svg" "$size" "$work/icon-$size.png"
    set -- "$@" "$work/icon-$size.png"
  done
  convert "$@" -strip -define png:exclude-chunks=date,time "$work/QevBackup.ico"
  mv "$work/QevBackup.ico" "$out/QevBackup.ico"
fi
