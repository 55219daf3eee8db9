// A client of an engine that notes what it is told.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "zip/ArchiveEngine.h"
#include "zip/EngineLines.h"

namespace qev::test {

class EventList : public EngineClient {
 public:
  void text(const std::wstring& text) override { texts.push_back(text); }
  void event(const EngineEvent& event) override { events.push_back(event); }
  void yield() override { ++yields; }

  std::vector<std::wstring> texts;
  std::vector<EngineEvent> events;
  int yields = 0;
};

// The events of what an engine prints: each piece is one message.
inline std::vector<EngineEvent> eventsOf(const std::vector<std::wstring>& pieces) {
  EventList list;
  EngineLines lines(list);
  for (const std::wstring& piece : pieces) lines.print(piece);
  return list.events;
}

// The remarks among them.
inline std::vector<std::wstring> remarksIn(const std::vector<std::wstring>& pieces) {
  std::vector<std::wstring> remarks;
  for (const EngineEvent& event : eventsOf(pieces)) {
    if (const auto* const remark = std::get_if<Remark>(&event)) remarks.push_back(remark->line);
  }
  return remarks;
}

}  // namespace qev::test
