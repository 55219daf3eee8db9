#include "set/SetFile.h"

#include "set/SetBytes.h"

namespace qev {

std::wstring datedSetName(Date date) {
  return L"Backup" + fileDayText(date) + L".qev";
}

SetCheck checkSet(Platform& platform, const std::wstring& path, const std::wstring& title) {
  return checkSet(*platform.files.openForReading(path), title, platform.locale);
}

void writeHeader(Platform& platform, const std::wstring& path, const SetHeader& header) {
  const std::string line = header.bytes(platform.locale);
  SetBytes bytes(platform);
  bytes.rewrite(path, line, bytes.openIfPresent(path));
}

std::unique_ptr<FileReplacement> beginSet(Platform& platform, const std::wstring& archive, const std::wstring& target,
                                          const SetHeader& header) {
  const std::string line = header.bytes(platform.locale);
  const auto content = platform.files.openForReading(archive);
  SetBytes bytes(platform);
  auto set = bytes.begin(target, line);
  bytes.copy(*content, *set);
  set->seal();
  return set;
}

void stripHeader(Platform& platform, const std::wstring& path) {
  SetBytes bytes(platform);
  auto content = bytes.openIfPresent(path);
  bytes.takeFirstLine(content.get(), 0);
  bytes.rewrite(path, {}, std::move(content));
}

SetHeader extractPayload(Platform& platform, const std::wstring& path, const std::wstring& target,
                         const std::function<void(std::uint64_t)>& copied) {
  SetBytes bytes(platform);
  const auto content = platform.files.openForReading(path);
  SetHeader header = SetHeader::parse(bytes.takeFirstLine(content.get()).text, platform.locale);
  const auto payload = bytes.begin(target, {});
  bytes.copy(*content, *payload, SetBytes::kRest, copied);
  payload->commit();
  return header;
}

}  // namespace qev
