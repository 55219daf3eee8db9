#!/usr/bin/env bash
# The second half of the demonstration: the data is damaged, and the host's restore dialog brings it back. Needs a display.
#
#   demo-restore.sh virtual SET     a user from outside fills in the dialog; takes pictures of it
#   demo-restore.sh show SET        leaves the dialog to the user
#
# SET is the set's path as Windows names it.
set -euo pipefail
cd "$(dirname "$0")/.."
. tools/env.sh
set_file=$2

drive() { win build/x64/form-driver.exe "$@" || { echo "demo: the user could not: $*" >&2; exit 1; }; }

win cscript //nologo hosts/gestion.vbs restaurar >"$BUILD/demo-restore.txt" 2>&1 &
host=$!
trap 'kill $host 2>/dev/null || true' EXIT

if [ "$1" = virtual ]; then
  dialog='Restaurar Copia' name=403 restore=1 # FRestaurar_TNombre, FRestaurar_BRestaurar
  title=Gestion yes=6 accept=1                # IDYES of the question, FPRestaura_BAceptar
  rm -f "$SCREENSHOTS"/demo-[345]*.png
  drive shown "$dialog"
  drive type "$dialog" $name "$set_file"
  drive click "$dialog" $restore
  drive shown "$title"
  sleep 0.5
  import -window root "$SCREENSHOTS/demo-3-question.png"
  drive click "$title" $yes
  drive enabled "$title" $accept
  sleep 0.5
  import -window root "$SCREENSHOTS/demo-4-restored.png"
  drive click "$title" $accept
fi
wait $host || { cat "$BUILD/demo-restore.txt" >&2; exit 1; }
trap - EXIT
