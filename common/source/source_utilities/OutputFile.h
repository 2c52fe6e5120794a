#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>
#include <string>
#include <string_view>

namespace VX_QRS {

/// A file that is open for writing, or none. The destructor closes it without a report; a writer that needs to know
/// whether everything is in the file calls close(). Failures are returned, not thrown. Not thread-safe.
class OutputFile {
public:
    /// In the text modes the platform's line ends are written, in binary mode every byte unchanged.
    enum class Mode { text, appendedText, binary };

    OutputFile() = default;
    /// Creates the file, or empties an existing one; appendedText keeps its content. Query isOpen() for the outcome.
    OutputFile(const std::string& path, Mode mode);
    /// Takes over an open stream; null for none.
    explicit OutputFile(std::FILE* opened) : stream(opened) {}

    bool isOpen() const { return stream != nullptr; }

    /// Buffered. False when no file is open or a byte was not accepted.
    bool write(std::string_view text) { return write(text.data(), text.size()); }
    bool write(const void* data, std::size_t size);
    /// False when no file is open or the system did not accept what is buffered.
    bool flush();
    /// True when a file was open and this call and every write and flush before it succeeded. A full disk may show
    /// here only.
    bool close();

private:
    struct Closer {
        void operator()(std::FILE* opened) const { std::fclose(opened); }
    };

    bool noted(bool succeeded);

    std::unique_ptr<std::FILE, Closer> stream;
    bool complete = true; // no call has failed since the opening
};

} // namespace VX_QRS
