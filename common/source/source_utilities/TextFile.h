#pragma once

#include <string>
#include <string_view>

namespace VX_QRS::textFile {

/// In text mode the platform's rules apply: on Windows CR LF reads as LF, and a byte 0x1A ends the file. In binary mode
/// every byte is read unchanged.
enum class Mode { text, binary };

/// Reads the whole file; it may contain any bytes. False when it cannot be opened or is a directory. A later failure
/// ends the text at that position.
bool read(const std::string& path, std::string& text, Mode mode);

/// Every byte of the file. False when it cannot be opened or read to its end.
bool readWhole(const std::string& path, std::string& bytes);

enum class Written { done, notOpened, notWritten };

/// Replaces the file's content, with the platform's line ends. The content is written to a new file in the same folder,
/// which is then renamed: unless the result is `done`, the old file is unchanged and the new one removed. Symbolic links
/// are followed; owner and access rights are kept where the platform permits. A device is written in place. notOpened:
/// the file is write-protected, or its folder accepts no new file.
Written replace(const std::string& path, std::string_view text);

/// Text for a file that cannot be opened for "reading" or "writing".
std::string openFailure(const std::string& path, const char* purpose);

/// Takes the next line from the beginning of the text. A line ends at the first of the characters `ends`, which is
/// removed with it, or after `limit` characters. False at the end of the text.
bool takeLine(std::string_view& text, std::string_view ends, std::string_view::size_type limit, std::string_view& line);

} // namespace VX_QRS::textFile
