#include "controls/FormFields.h"

#include "controls/EntryControl.h"

namespace qev {
namespace {

BOOL CALLBACK postTo(HWND child, LPARAM) {
  PostMessageW(child, settleMessage(), 0, 0);
  return TRUE;
}

BOOL CALLBACK sendTo(HWND child, LPARAM accepted) {
  if (SendMessageW(child, settleMessage(), 0, 0) == kSettleRefused) *reinterpret_cast<bool*>(accepted) = false;
  return TRUE;
}

}  // namespace

UINT identityMessage() {
  static const UINT message = RegisterWindowMessageW(L"QevBackup.EntryControl.Identity");
  return message;
}

UINT settleMessage() {
  static const UINT message = RegisterWindowMessageW(L"QevBackup.EntryControl.Settle");
  return message;
}

EntryControl* EntryControl::of(HWND window) {
  if (GetWindowThreadProcessId(window, nullptr) != GetCurrentThreadId()) return nullptr;
  return reinterpret_cast<EntryControl*>(SendMessageW(window, identityMessage(), 0, 0));
}

bool EntryControl::settleAll(HWND form) {
  bool accepted = true;
  EnumChildWindows(form, &sendTo, reinterpret_cast<LPARAM>(&accepted));
  return accepted;
}

void postSettle(HWND form) {
  EnumChildWindows(form, &postTo, 0);
}

bool isOtherControlOfForm(HWND control, HWND window) {
  const HWND form = GetAncestor(control, GA_ROOT);
  return window && window != form && window != control && !IsChild(control, window) &&
         GetAncestor(window, GA_ROOT) == form;
}

bool anotherStopExists(HWND control) {
  const HWND form = GetAncestor(control, GA_ROOT);
  const HWND first = GetNextDlgTabItem(form, control, FALSE);
  HWND stop = first;
  do {
    const EntryControl* const field = stop ? EntryControl::of(stop) : nullptr;
    if (stop && (!field || field->Enabled())) return true;
    stop = GetNextDlgTabItem(form, stop, FALSE);
  } while (stop && stop != first && stop != control);
  return false;
}

}  // namespace qev
