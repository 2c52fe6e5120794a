#pragma once

#include <cstdint>
#include <span>

/// Fuzz targets for arbitrary bytes. Each function parses them, checks what must hold for any input, and ends the
/// program when a check fails; a sanitizer checks the rest. Run by libFuzzer (preset fuzz) and, over the inputs in
/// corpus/, by an ordinary test.
namespace fuzz {

using Input = std::span<const std::uint8_t>;

// The link and the bench.

/// Bytes as a data server's replies to the requests of a client.
/// Byte 0: low five bits: the first operation, as below; 0x20: a channel is open; 0x40: a second operation follows, the
/// next one of the list; 0x80: bytes come one at a time, otherwise all at once. Byte 1: count of registers or size
/// of a peek, and, by its low three bits, how many bytes each read may request. The rest are the replies.
void replies(Input input);

/// Bytes as operations on a packet buffer, which is compared with a slow model after each: an operation's number, its
/// argument, and for some as many bytes as the argument says.
void packetBuffer(Input input);

/// Bytes as the text of a scenario, which is read, or rejected with a position.
void scenario(Input input);

/// The same, and a scenario that is read is run: the unit measures and records what its target sends, and gives all that
/// it holds. The host reads the same.
void scenarioRun(Input input);

/// Bytes as the requests of a data client to the bench's server. Byte 0 chooses the scenario; the low bits of byte 1 are
/// the sizes of the pieces that arrive. All requests are answered, in well-formed packets, the same for any pieces.
void benchRequests(Input input);

/// Lines as the requests of the siblings to the bench's server. Each has an answer of one line.
void sideRequests(Input input);

/// A device file of the bench: read, or rejected with its name. The list for a person has the same devices.
void devices(Input input);

// Files that the receiver reads.

/// A channel settings file. Afterwards it has been accepted, or replaced and kept as a copy; writing it changes nothing.
void settingsFile(Input input);

/// A properties file as the receiver's parser reads it: sections, keys, values. Writing what was read and reading that
/// changes nothing.
void propertyFile(Input input);

/// A configuration file in both of its syntaxes. Writing what was read and reading that changes nothing.
void configFile(Input input);

/// A trace data file. Sections are consecutive and within the file; one that is added leaves the others as they were.
void traceFile(Input input);

/// A pin map file and the search in it. What is granted is in the file, and within the limits.
void pinMap(Input input);

/// A verification file, judged by the receiver and by the diagnosis: both agree.
void verification(Input input);

// Files that the diagnosis reads: each is read, or rejected with file and line.

/// What is read, written in the receiver's form, is read again as the same. All analyses and exports end.
void burst(Input input);
void calibrationReport(Input input);
void registerDump(Input input);
void properties(Input input);
/// Any text is a log; frequencies are in their order, and at most one setting was chosen.
void runLog(Input input);

/// The files of a run, each after a line "== NAME" with one of the names' ends, such as "== .freq2.cal.txt". The page
/// is well-formed and has no markup of the files; the texts for terminal and script contain no control characters.
void runFolder(Input input);

struct Target {
    const char* name; ///< of the function, the program's end and the folder of its corpus
    void (*run)(Input);
};
std::span<const Target> targets();

} // namespace fuzz
