// The settings of a host: named values under its registry key in HKEY_LOCAL_MACHINE, read with one of two default
// rules.
//
//   Copia         integer  mode: 0 none, 1 automatic, 2 scheduled         plain default 1
//   Programar     text     "Diariamente", "Semanalmente", "Mensualmente"  strict default "Diariamente"
//   HoraInicio    text     start time "hh:nn"                             strict default the present time
//   DDias, DSemanas, DMes  integers: every N days, N weeks, day of month  strict default 1
//   DSem, Meses   text     7 and 12 flags, "S" selected                   strict default all "N"
//   UltimaCopia, ProximaCopia  text "dd-mm-yyyy hh:nn"                    read as stored
//   Destino       text     folder of scheduled backups                    strict default "C:\"
//   Estado        text     outcome of the last run                        read as stored
//   EDir, Cerrar  integers 0 or 1                                         plain default 0
//   Verificar     integer or text: safe mode, see safeMode()              off; never written here
//   NCopias       integer  files that retention keeps                     plain default
//   DirDatos, DirMDE, Dirbackup  texts, the host's own; never written here
#pragma once

#include <string>

#include "platform/Platform.h"
#include "platform/Value.h"

namespace qev {

class SettingsStore {
 public:
  // REQUIRES: `registry` and `keyPath` outlive the store. `keyPath` is looked at on every call: the host may name
  // another key at any time.
  SettingsStore(Registry& registry, const std::wstring& keyPath) : registry_(registry), keyPath_(keyPath) {}

  // The stored value, empty when there is none. Throws what Registry::read throws.
  [[nodiscard]] Value read(const std::wstring& name) const;

  // Plain rule: `fallback` when the stored value is empty or null.
  [[nodiscard]] Value readPlain(const std::wstring& name, const Value& fallback) const;

  // Strict rule: `fallback` also when the stored value is numerically 0, or text that trims to nothing.
  [[nodiscard]] Value readStrict(const std::wstring& name, const Value& fallback) const;

  // Whether the host asks for safe mode (`Verificar`): sets are tested before they count, and replace older ones only
  // then. Off where the value is missing, a number that is 0 (as a text too), a text of blanks, or "no", "N", "False"
  // or "Falso" in any letter case, with blanks around it or none. On otherwise: whoever has written anything else, or a
  // value that cannot be read (of another type, access denied), has not said that sets need no proof. Throws nothing.
  [[nodiscard]] bool safeMode() const;

  // Stores a value at once. Throws what Registry::write throws.
  void write(const std::wstring& name, const Value& value);

 private:
  Registry& registry_;
  const std::wstring& keyPath_;
};

}  // namespace qev
