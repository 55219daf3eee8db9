// The record of the runs: registro.log in the work folder, for the people who support a host. It tells of every backup
// and every restore, and says what the windows do not: that the engine had something to report although the run ended
// as a success.
//
// The file is UTF-8, begins with EF BB BF, and has CR LF behind each line. Each run is a block:
//
//   === 16-11-2026 10:30:05 Copia automática: Gestion
//     Resultado: correcto
//     Avisos del motor: código 18, 2 mensajes          only where the engine reported trouble
//     Copia: D:\Copias\Backup16-11-26.qev              the set: made by a backup, read by a restore
//     Datos: C:\Prog\Datos\Emp01\                      the data folder; of a restore, the folder restored to
//     Inicio: 16-11-2026 10:30:05
//     Fin: 16-11-2026 10:31:10
//     Archivos: 12                                     files in the set's archive
//     Bytes: 25165824                                  of those files, unpacked
//     Tamaño de la copia: 9437184                      bytes of the set's file
//     Código del motor: 18
//     Modo seguro: sí                                  or "no"; of backups
//     Comprobada: sí                                   only in safe mode: "sí", or "no" where it did not come to that
//     Error: 61-Disco lleno: D:\Copias                 only of a run that ended in one
//     Texto mostrado:
//       | La copia de seguridad se ha realizado correctamente.
//     Avisos:                                          what the run itself found
//       | C:\Prog\Datos\Emp01\a.db no se ha podido leer
//     Mensajes del motor:
//       | zip warning: could not open for reading: Prog/Datos/Emp01/a.db
//       | (y 40 más)
//
// and an empty line. The first line says "Copia automática", "Copia programada", "Copia manual", "Copia" (of any other
// kind) or "Restauración", and the moment of the start; "Resultado" is "correcto", "con errores", "cancelado por el
// usuario" or "no realizado: no se reemplaza la copia que ya existe". A line whose value is not known is left out.
// Every line but the first is indented, so "=== " at the beginning of a line begins a block and nothing else does; a
// line of a value of several lines begins with "| ". Control characters of a value are blanks.
//
// The file has at most one MiB: the oldest blocks go, whole.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Clock.h"
#include "zip/EngineRemarks.h"
#include "zip/ZipDirectory.h"

namespace qev {

struct RunRecord {
  enum class Kind { Automatic, Scheduled, Manual, Other, Restore };
  enum class Result { Success, Failure, Cancelled, Refused };

  Kind kind = Kind::Other;
  Result result = Result::Failure;
  std::wstring title;  // of the host
  std::wstring set;    // path
  std::wstring data;   // the data folder; of a restore, the folder restored to
  Date start;
  Date end;
  std::optional<std::uint64_t> files;
  std::optional<std::uint64_t> bytes;
  std::optional<std::uint64_t> setBytes;
  std::optional<std::int32_t> engineCode;  // the worst of the run's engine calls
  std::optional<bool> proven;              // in safe mode
  std::optional<bool> safeMode;
  EngineRemarks notes;    // what the run itself found
  EngineRemarks remarks;  // what the engine said
  std::optional<std::int32_t> errorNumber;
  std::wstring errorText;
  std::wstring shown;  // as the window showed it

  // Sets `files` and `bytes` to what an archive of these entries holds.
  void count(const std::vector<ZipDirectoryEntry>& entries);

  // Whether the engine reported trouble, by a code or by a remark.
  bool hasTrouble() const { return engineCode.value_or(0) != 0 || remarks.count() > 0; }
};

inline constexpr std::size_t kMostLogBytes = 1 << 20;

// The block of a run in UTF-8, its empty line included; less than 500 KiB. Throws 6 beyond the calendar.
std::string logBlock(const RunRecord& record);

// A log of at most `most` bytes: as many of the last blocks of `old` as leave room, then `block`, which is there
// whatever its size. Of `old` what is no block, or comes before the first one, is dropped.
std::string logWith(std::string_view old, std::string_view block, std::size_t most = kMostLogBytes);

}  // namespace qev
