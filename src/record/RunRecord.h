// The record of the runs: registro.log in the work folder, for the people who support a host. It tells of every backup
// and every restore, and says what the windows do not: that the engine had something to report although the run ended
// as a success.
//
// The file is UTF-8, begins with EF BB BF, and has CR LF behind each line. Each run is a block:
//
//   === 16-11-2026 10:30:05 Copia automática: Gestion
//     Resultado: correcto
//     Proceso: 8f3a2c11-1a2b-01db3c5d7e9f0a1b          only while the run is under way, as platform/NewFile.h writes it
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
//
// A run's block is there from its beginning: until it ends, "Resultado" is "en marcha", and what is known at the
// beginning follows. At the end the block goes, and the run's last one is added. What a killed run has left, the next
// run of any host finds: "Resultado" becomes "interrumpido: el programa terminó antes que la copia" (or "… que la
// restauración"), and "Proceso" goes. "no consta: no se pudo escribir en el registro" is of a run whose process lives
// on and could not write its last block.
//
// Every line but the first is indented, so "=== " at the beginning of a line begins a block and nothing else does; a
// line of a value of several lines begins with "| ". Control characters of a value are blanks.
//
// The file has at most one MiB: the oldest blocks go, whole.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
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
  enum class Result { Running, Success, Failure, Cancelled, Refused };

  Kind kind = Kind::Other;
  Result result = Result::Failure;
  std::wstring title;  // of the host
  std::wstring set;    // path
  std::wstring data;   // the data folder; of a restore, the folder restored to
  Date start;
  Date end;              // unless it is running
  std::wstring process;  // while it is running: Processes::name()
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

// `log` without the block that says that `run` is running, if there is one: that begins as its own does. REQUIRES: it
// is Result::Running, in a process.
std::string withoutRunning(std::string_view log, const RunRecord& run);

// What has become of a process in whose name a run is under way.
enum class ProcessFate { MayLive, IsGone, HasNoRun };

struct SettledLog {
  std::string log;
  bool wasInterrupted = false;  // the last run of the host that was asked for
};

// `log` in which no run is under way that cannot be: of each that is, `fateOf` tells what has become of its process.
SettledLog settled(std::string_view log, const std::wstring& title,
                   const std::function<ProcessFate(const std::wstring& process)>& fateOf);

// A log of at most `most` bytes: as many of the last blocks of `old` as leave room, then `block`, which is there
// whatever its size. Of `old` what is no block, or comes before the first one, is dropped.
std::string logWith(std::string_view old, std::string_view block, std::size_t most = kMostLogBytes);

}  // namespace qev
