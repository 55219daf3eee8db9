#!/usr/bin/env bash
# Takes the pictures of the documents from those that the tests and the demonstration have made: without the black of the display,
# and with no more colours than they need.
set -euo pipefail
cd "$(dirname "$0")"
from=../../build/screenshots

take() { # SCREENSHOT PICTURE
  convert "$from/$1.png" -bordercolor black -border 1 -fuzz 1% -trim +repage +dither -colors 128 -strip \
    -define png:compression-level=9 "PNG8:$2.png"
  [ "$(stat -c %s "$2.png")" -lt 60000 ] || { echo "$2.png is too large" >&2; exit 1; }
}

take Backup-modo2-Semanalmente-100 configuracion
take FCopiar-lleno copia-manual
take demo-1-running copia-en-curso
take demo-2-finished copia-correcta
take demo-3-question restaurar
take demo-4-restored restaurada
