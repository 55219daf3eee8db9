// The dialog in which the user types a text that nobody else should read.
#pragma once

#include <optional>
#include <string>

namespace qev {

class TextPrompt {
 public:
  virtual ~TextPrompt() = default;

  // Asks for a password over the active window of the calling thread and waits for the user: a modal window titled
  // `title` with the text `prompt`, a field that masks what is typed into it, and the buttons "Aceptar" (also the Enter
  // key) and "Cancelar" (also Esc, and closing the window).
  //
  // The text of the field, "" too, on "Aceptar"; nothing on "Cancelar". Throws 7 when the window cannot be shown.
  // DialogBoxParamW.
  virtual std::optional<std::wstring> ask(const std::wstring& prompt, const std::wstring& title) = 0;
};

}  // namespace qev
