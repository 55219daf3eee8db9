// Names for screen readers: a field is announced by the caption beside it.
#pragma once

#include <windows.h>

namespace qev {

// Gives each entry control of `form` the text of the nearest label before it in the tab order, without the mark of its
// mnemonic. EntryControl::announceAs.
void nameFieldsByTheirLabels(HWND form);

}  // namespace qev
