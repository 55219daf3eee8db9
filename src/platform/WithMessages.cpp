#include "platform/WithMessages.h"

#include "platform/Handle.h"
#include "platform/QuitMessage.h"

namespace qev {
namespace {

struct Job {
  const std::function<DWORD()>& work;
  DWORD errorMode;
  DWORD code;
};

DWORD WINAPI perform(void* given) {
  auto& job = *static_cast<Job*>(given);
  SetThreadErrorMode(job.errorMode, nullptr);
  job.code = job.work();
  return 0;
}

}  // namespace

DWORD withMessages(const Patience& patience, const std::function<DWORD()>& work) {
  constexpr DWORD betweenMessages = 50;
  if (patience.giveMessages == nullptr) return work();
  Job job{work, GetThreadErrorMode(), ERROR_SUCCESS};
  const UniqueKernelHandle thread(CreateThread(nullptr, 0, &perform, &job, 0, nullptr));
  if (!thread) return work();
  const HANDLE done = thread.get();
  PutOffQuit quit;  // one that waits would end every wait at once
  while (MsgWaitForMultipleObjects(1, &done, FALSE, betweenMessages, QS_ALLINPUT) != WAIT_OBJECT_0) {
    patience.giveMessages(patience.context);
    quit.take();
  }
  return job.code;
}

}  // namespace qev
