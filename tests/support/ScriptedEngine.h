// Archive engines of the tests' own: they note what they are asked, and do what the test says in place of archiving,
// listing, testing or extracting. What they say is read as what the real ones print.
#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "zip/ArchiveEngine.h"
#include "zip/EngineLines.h"

namespace qev::test {

// Both kinds of engine, as `Request` and `Client` say. REQUIRES: outlives what its loader has made.
template <typename Engine, typename Request, typename Client>
class ScriptedEngine {
 public:
  // What the archive classes and the runs take.
  std::function<std::unique_ptr<Engine>()> loader() {
    return [this] {
      ++loads;
      if (onLoad) onLoad();
      return std::make_unique<Run>(*this);
    };
  }

  // Called when the engine is loaded; what it throws is why it cannot be.
  std::function<void()> onLoad;

  // The engine's work; its answer is the engine's code. Without it: 0.
  std::function<int()> work;

  // A message of the engine, in the pieces in which it prints it. As with a real engine, what the client throws does
  // not come out here but when the work is done.
  void say(const std::wstring& message) {
    guarded([&] { lines_->print(message); });
  }

  // What the unzip engine says of an entry that is done.
  void ended(const std::wstring& name, std::uint64_t size) {
    guarded([&] { lines_->ended(name, size); });
  }

  Request request;  // of the last run
  int loads = 0;
  int runs = 0;

 private:
  class Run final : public Engine {
   public:
    explicit Run(ScriptedEngine& script) : script_(script) {}
    std::int32_t run(const Request& asked, Client& client) override { return script_.perform(asked, client); }

   private:
    ScriptedEngine& script_;
  };

  std::int32_t perform(const Request& asked, Client& client) {
    ++runs;
    request = asked;
    EngineLines lines(client);
    lines_ = &lines;
    failure_ = nullptr;
    const int code = work ? work() : 0;
    if (failure_) std::rethrow_exception(failure_);
    return code;
  }

  template <typename Action>
  void guarded(const Action& action) {
    try {
      action();
    } catch (...) {
      if (!failure_) failure_ = std::current_exception();
    }
  }

  EngineLines* lines_ = nullptr;
  std::exception_ptr failure_;
};

using ScriptedZip = ScriptedEngine<ZipEngine, ZipRequest, EngineClient>;
using ScriptedUnzip = ScriptedEngine<UnzipEngine, UnzipRequest, UnzipClient>;

}  // namespace qev::test
