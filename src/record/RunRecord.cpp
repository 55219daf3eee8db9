#include "record/RunRecord.h"

#include <algorithm>
#include <functional>

#include "values/Utf8.h"

namespace qev {
namespace {

constexpr std::string_view kMark = "\xEF\xBB\xBF";
constexpr std::string_view kBlockBeginning = "=== ";
constexpr wchar_t kLine[] = L"\r\n";
constexpr std::size_t kLongestValue = 1000;  // characters of a value of one line
constexpr std::size_t kLongestShown = 4000;  // characters of the text that was shown

const wchar_t* kindText(RunRecord::Kind kind) {
  switch (kind) {
    case RunRecord::Kind::Automatic: return L"Copia automática";
    case RunRecord::Kind::Scheduled: return L"Copia programada";
    case RunRecord::Kind::Manual: return L"Copia manual";
    case RunRecord::Kind::Restore: return L"Restauración";
    default: return L"Copia";
  }
}

const wchar_t* resultText(RunRecord::Result result) {
  switch (result) {
    case RunRecord::Result::Running: return L"en marcha";
    case RunRecord::Result::Success: return L"correcto";
    case RunRecord::Result::Cancelled: return L"cancelado por el usuario";
    case RunRecord::Result::Refused: return L"no realizado: no se reemplaza la copia que ya existe";
    default: return L"con errores";
  }
}

// A text as one line of the log.
std::wstring inOneLine(std::wstring_view text, std::size_t longest = kLongestValue) {
  std::wstring line(text.substr(0, longest));
  for (wchar_t& c : line) {
    if (c < L' ' || c == 0x7f || c == 0x2028 || c == 0x2029) c = L' ';
  }
  return line;
}

class Block {
 public:
  void begin(const std::wstring& text) { text_ = L"=== " + inOneLine(text) + kLine; }
  void add(const wchar_t* name, const std::wstring& value) {
    if (!value.empty()) text_ += std::wstring(L"  ") + name + L": " + inOneLine(value) + kLine;
  }
  template <typename Number>
  void add(const wchar_t* name, const std::optional<Number>& value) {
    if (value) add(name, std::to_wstring(*value));
  }
  void open(const wchar_t* name) { text_ += std::wstring(L"  ") + name + L":" + kLine; }
  void line(std::wstring_view text) { text_ += L"    | " + inOneLine(text) + kLine; }
  std::wstring end() { return text_ + kLine; }

 private:
  std::wstring text_;
};

void addShown(Block& block, const std::wstring& shown) {
  if (shown.empty()) return;
  block.open(L"Texto mostrado");
  const auto text = std::wstring_view(shown).substr(0, kLongestShown);
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = std::min(text.find_first_of(L"\r\n", begin), text.size());
    if (end > begin) block.line(text.substr(begin, end - begin));
    begin = end + 1;
  }
}

void addLines(Block& block, const wchar_t* name, const EngineRemarks& remarks) {
  if (remarks.count() == 0) return;
  block.open(name);
  for (const std::wstring& line : remarks.lines()) block.line(line);
  const std::size_t more = remarks.count() - remarks.lines().size();
  if (more > 0) block.line(L"(y " + std::to_wstring(more) + L" más)");
}

std::string_view withoutMark(std::string_view log) {
  return log.starts_with(kMark) ? log.substr(kMark.size()) : log;
}

// Where the first block at or after `from` begins; npos without one.
std::size_t blockFrom(std::string_view log, std::size_t from) {
  for (auto at = log.find(kBlockBeginning, from); at != std::string_view::npos;
       at = log.find(kBlockBeginning, at + 1)) {
    if (at == 0 || log[at - 1] == '\n') return at;
  }
  return std::string_view::npos;
}

// --- Blocks as a log has them

constexpr std::string_view kResult = "  Resultado: ";
constexpr std::string_view kRunning = "  Resultado: en marcha\r\n  Proceso: ";
constexpr std::size_t kKindAt = sizeof "=== dd-mm-yyyy hh:nn:ss " - 1;

std::string_view lineOf(std::string_view block, std::size_t at) {
  return block.substr(at, block.find('\r', at) - at);
}

std::size_t secondLineOf(std::string_view block) {
  return std::min(block.find('\n'), block.size() - 1) + 1;
}

// What stands behind the kind of the run, the host's title.
std::string_view titleOf(std::string_view block) {
  const std::string_view heading = lineOf(block, 0);
  const std::size_t colon = heading.find(": ", kKindAt);
  return colon == std::string_view::npos ? std::string_view() : heading.substr(colon + 2);
}

// Of a block of a run that is under way, the process.
std::optional<std::string_view> runningIn(std::string_view block) {
  const std::size_t second = secondLineOf(block);
  if (!block.substr(second).starts_with(kRunning)) return std::nullopt;
  return lineOf(block, second + kRunning.size());
}

bool wasInterrupted(std::string_view block) {
  return block.substr(secondLineOf(block)).starts_with(std::string(kResult) + "interrumpido:");
}

// The block of a run that is under way no more.
std::string endedBlock(std::string_view block, ProcessFate fate) {
  const bool isRestore = block.substr(std::min(kKindAt, block.size())).starts_with(utf8(L"Restauración"));
  const std::wstring gone =
      std::wstring(L"interrumpido: el programa terminó antes que la ") + (isRestore ? L"restauración" : L"copia");
  const std::wstring unknown = L"no consta: no se pudo escribir en el registro";
  const std::size_t second = secondLineOf(block);
  const std::size_t rest = std::min(block.find('\r', second + kRunning.size()), block.size());
  return std::string(block.substr(0, second))
      .append(kResult)
      .append(utf8(fate == ProcessFate::IsGone ? gone : unknown))
      .append(block.substr(rest));
}

// Calls `visit` with each block; what comes before the first is none.
void forEachBlock(std::string_view log, const std::function<void(std::string_view block)>& visit) {
  log = withoutMark(log);
  for (std::size_t at = blockFrom(log, 0); at != std::string_view::npos;) {
    const std::size_t next = blockFrom(log, at + 1);
    visit(log.substr(at, next - at));
    at = next;
  }
}

}  // namespace

void RunRecord::count(const std::vector<ZipDirectoryEntry>& entries) {
  files = bytes = 0;
  for (const ZipDirectoryEntry& entry : entries) {
    *files += entry.name.ends_with('/') ? 0 : 1;
    *bytes += entry.size;
  }
}

std::string logBlock(const RunRecord& record) {
  Block block;
  const std::wstring start = secondMomentText(record.start);
  block.begin(start + L" " + kindText(record.kind) + L": " + record.title);
  const bool isRunning = record.result == RunRecord::Result::Running;
  block.add(L"Resultado", std::wstring(resultText(record.result)));
  if (isRunning) block.add(L"Proceso", record.process);
  if (record.hasTrouble()) {
    block.add(L"Avisos del motor", L"código " + std::to_wstring(record.engineCode.value_or(0)) + L", " +
                                       std::to_wstring(record.remarks.count()) + L" mensajes");
  }
  block.add(L"Copia", record.set);
  block.add(L"Datos", record.data);
  block.add(L"Inicio", start);
  if (!isRunning) block.add(L"Fin", secondMomentText(record.end));
  block.add(L"Archivos", record.files);
  block.add(L"Bytes", record.bytes);
  block.add(L"Tamaño de la copia", record.setBytes);
  block.add(L"Código del motor", record.engineCode);
  if (record.safeMode) block.add(L"Modo seguro", std::wstring(*record.safeMode ? L"sí" : L"no"));
  if (record.proven) block.add(L"Comprobada", std::wstring(*record.proven ? L"sí" : L"no"));
  if (record.errorNumber) block.add(L"Error", std::to_wstring(*record.errorNumber) + L"-" + record.errorText);
  addShown(block, record.shown);
  addLines(block, L"Avisos", record.notes);
  addLines(block, L"Mensajes del motor", record.remarks);
  return utf8(block.end());
}

std::string withoutRunning(std::string_view log, const RunRecord& run) {
  const std::string whole = logBlock(run);
  const std::size_t process = whole.find(kRunning) + kRunning.size();
  const std::string_view beginning = std::string_view(whole).substr(0, whole.find('\n', process) + 1);
  std::string others;
  forEachBlock(log, [&](std::string_view block) {
    if (!block.starts_with(beginning)) others += block;
  });
  return others;
}

SettledLog settled(std::string_view log, const std::wstring& title,
                   const std::function<ProcessFate(const std::wstring& process)>& fateOf) {
  const std::string wanted = utf8(inOneLine(title));
  SettledLog result;
  forEachBlock(log, [&](std::string_view block) {
    std::string now(block);
    if (const auto process = runningIn(block)) {
      const ProcessFate fate = fateOf(std::wstring(process->begin(), process->end()));
      if (fate != ProcessFate::MayLive) now = endedBlock(block, fate);
    }
    if (titleOf(now) == wanted) result.wasInterrupted = wasInterrupted(now);
    result.log += now;
  });
  return result;
}

std::string logWith(std::string_view old, std::string_view block, std::size_t most) {
  old = withoutMark(old);
  const std::size_t taken = kMark.size() + block.size();
  const std::size_t room = most > taken ? most - taken : 0;
  const std::size_t begin = blockFrom(old, old.size() > room ? old.size() - room : 0);
  std::string log(kMark);
  if (begin != std::string_view::npos) log += old.substr(begin);
  return log.append(block);
}

}  // namespace qev
