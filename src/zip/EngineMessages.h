// The text that both engines' print callbacks fill: one a process, cleared when an engine run begins.
#pragma once

#include <string>

namespace qev {

std::wstring& engineMessages();

}  // namespace qev
