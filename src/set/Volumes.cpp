#include "set/Volumes.h"

#include <limits>
#include <span>

#include "platform/AutomationError.h"
#include "set/SetBytes.h"
#include "set/SetFile.h"

namespace qev {
namespace {

std::int16_t volumeCount(std::uint64_t length, std::uint64_t pieceSize) {
  if (pieceSize == 0) throw AutomationError(kDivisionByZero);
  const std::uint64_t count = length / pieceSize + (length % pieceSize > 0 ? 1 : 0);
  if (count > static_cast<std::uint64_t>(std::numeric_limits<std::int16_t>::max())) throw AutomationError(kOverflow);
  return static_cast<std::int16_t>(count);
}

// What the pieces of a file are named after: their numbers follow.
std::wstring pieceStem(WorkFolder& workFolder, const std::wstring& path) {
  return workFolder.path() + L"\\temp\\" + fileNamePart(path);
}

// The pieces on disks are bare: to look for the end of a first line in one would cost the archive the bytes before it.
bool beginsWithHeader(const SetBytes& bytes, const std::wstring& path) {
  std::string beginning(SetHeader::kBeginning.size(), '\0');
  const auto piece = bytes.openIfPresent(path);
  if (piece) beginning.resize(piece->read(std::as_writable_bytes(std::span(beginning))));
  return beginning == SetHeader::kBeginning;
}

}  // namespace

std::wstring workingCopy(WorkFolder& workFolder) {
  return pieceStem(workFolder, L"copia.zip");
}

std::wstring workingPiece(WorkFolder& workFolder, int number) {
  return workingCopy(workFolder) + std::to_wstring(number);
}

SetHeader splitIntoVolumes(Platform& platform, const std::wstring& path, std::uint64_t pieceSize) {
  SetBytes bytes(platform);
  auto content = bytes.openIfPresent(path);
  const auto [line, payload] = bytes.takeFirstLine(content.get());
  SetHeader set = SetHeader::parse(line, platform.locale);
  set.totalVolumes = volumeCount(content->size() - payload, pieceSize);
  const std::string header = set.bytes(platform.locale);

  // The header stays on the set until its successor is complete, so that no failure leaves a bare archive behind.
  const std::wstring stem = pieceStem(platform.workFolder, path);
  SetHeader volume = set;
  for (int i = 1; i <= set.totalVolumes; ++i) {
    volume.volumeNumber = static_cast<std::int16_t>(i);
    const auto piece = bytes.begin(stem + std::to_wstring(i), volume.bytes(platform.locale));
    bytes.copy(*content, *piece, pieceSize);
    piece->commit();
  }
  content->seek(payload);
  bytes.rewrite(path, header, std::move(content));
  joinVolumes(platform, set);
  return set;
}

void joinVolumes(Platform& platform, const SetHeader& set) {
  SetBytes bytes(platform);
  for (int i = 1; i <= set.totalVolumes; ++i) {
    const std::wstring piece = workingPiece(platform.workFolder, i);
    if (beginsWithHeader(bytes, piece)) stripHeader(platform, piece);
  }
  const SetHeader ofOneVolume{set.program, set.creationDate, 1, 1, set.directory};
  const auto joined = bytes.begin(workingCopy(platform.workFolder), ofOneVolume.bytes(platform.locale));
  for (int i = 1; i <= set.totalVolumes; ++i) {
    const auto piece = bytes.openIfPresent(workingPiece(platform.workFolder, i));
    if (piece) bytes.copy(*piece, *joined);
  }
  joined->commit();
}

}  // namespace qev
