// A backup set as the format describes it, byte by byte in code page 1252, and a place where such sets are worked on.
#pragma once

#include <string>

#include "set/SetFile.h"
#include "set/Volumes.h"
#include "support/FakePlatform.h"

namespace qev::test {

using namespace std::string_literals;

inline const std::wstring kSetPath = L"C:\\Copias\\Backup16-11-26.qev";
inline const std::wstring kWorkingCopy = L"C:\\Trabajo\\temp\\copia.zip";

// Some archive: bytes of every kind, with line ends, separators and quotation marks among them.
inline const std::string kArchive = "PK\x03\x04\r\n;,\"\0\xFF\x1A\n\rPK\r\nfin"s;

// The header line of a set of the program Gestion, without its line end.
inline std::string headerLine(const std::string& total = "1", const std::string& number = "1",
                              const std::string& date = "16/11/2026", const std::string& title = "Gestion",
                              const std::string& directory = "C:") {
  return "Programa : " + title + ";Fecha Creaci\xF3n : " + date + ";Total de Vol\xFAmenes :" + total +
         ";N\xFAmero de Vol\xFAmen :" + number + ";Directorio : " + directory + ";";
}

inline std::string golden(const std::string& total = "1", const std::string& number = "1",
                          const std::string& date = "16/11/2026") {
  return headerLine(total, number, date) + "\r\n";
}

// What that header says.
inline SetHeader goldenHeader(std::int16_t total = 1, std::int16_t number = 1) {
  return {L"Gestion", moment(2026, 11, 16), total, number, L"C:"};
}

// Set files in memory, and the operations on them.
struct SetBox {
  void put(std::string_view bytes, const std::wstring& path = kSetPath) { fake.files.put(path, bytes); }
  std::string bytes(const std::wstring& path = kSetPath) const { return fake.files.bytes(path); }
  static std::wstring piece(int number) { return kWorkingCopy + std::to_wstring(number); }

  void write() { writeHeader(fake.platform(), kSetPath, goldenHeader()); }
  void strip() { stripHeader(fake.platform(), kSetPath); }
  SetHeader extract() { return extractPayload(fake.platform(), kSetPath, kWorkingCopy); }
  SetCheck check() { return checkSet(fake.platform(), kSetPath, L"Gestion"); }
  SetHeader split(std::uint64_t pieceSize, const std::wstring& path = kWorkingCopy) {
    return splitIntoVolumes(fake.platform(), path, pieceSize);
  }
  void join(int total) { joinVolumes(fake.platform(), goldenHeader(static_cast<std::int16_t>(total), 2)); }

  FakePlatform fake;
};

}  // namespace qev::test
