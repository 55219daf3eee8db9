// Set files: a header goes onto an archive and comes off again, and a payload is taken out of a set. set/SetHeader.h
// tells the format.
//
// Every file is rewritten beside its old self and put in its place in one step: whatever fails, and whenever, the name
// holds the old bytes or the new ones. Payloads have no limit; they are streamed through a buffer of one MiB.
//
// REQUIRES, of each: `platform` outlives the call.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "platform/Platform.h"
#include "set/SetHeader.h"

namespace qev {

// "Backup16-11-26.qev" for the local day of `date`: the name of automatic and scheduled sets.
[[nodiscard]] std::wstring datedSetName(Date date);

// checkSet of the file at `path`, which is only read. Throws 53 or 76 when there is no file, and what that throws.
[[nodiscard]] SetCheck checkSet(Platform& platform, const std::wstring& path, const std::wstring& title);

// Puts a header line before the content of a file. A file that does not exist is created with the header alone; one
// that has a header gets a second. Throws file-system errors, a file that cannot be read included, and 13 when the
// locale cannot read back the date.
void writeHeader(Platform& platform, const std::wstring& path, const SetHeader& header);

// Begins the set file at `target`: a header line, then the bytes of `archive`, which is only read. What is answered is
// sealed: it is on the disk and nobody can write it any more; its commit() puts it in its place. Throws 53 when there
// is no archive, 13 as writeHeader does, and file-system errors.
[[nodiscard]] std::unique_ptr<FileReplacement> beginSet(Platform& platform, const std::wstring& archive,
                                                        const std::wstring& target, const SetHeader& header);

// Takes the first line and its CR LF off a file; one without CR LF is all first line and becomes empty, one that does
// not exist is created empty. Throws file-system errors.
void stripHeader(Platform& platform, const std::wstring& path);

// Writes the payload of a set to `target` and answers its header; the set itself is only read, so it stays what it is
// whatever fails, and may lie on a disk that cannot be written. `copied`, where there is one, is told the bytes written
// so far, about once per MiB; what it throws ends the copy. Throws 53 or 76 when there is no set, what
// SetHeader::parse throws, before a byte is written, and other file-system errors; no target is left then.
[[nodiscard]] SetHeader extractPayload(Platform& platform, const std::wstring& path, const std::wstring& target,
                                       const std::function<void(std::uint64_t)>& copied = nullptr);

}  // namespace qev
