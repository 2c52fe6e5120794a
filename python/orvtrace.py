"""Reads what the trace receiver and orvtrace leave: recordings, trace data files, bursts, calibration reports, whole runs.

One file without dependencies, for Python 3.9 and later. With numpy, the levels of a burst are arrays.

    >>> import orvtrace
    >>> run = orvtrace.Run("run")                                    # doctest: +SKIP
    >>> for attempt in run.attempts:                                 # doctest: +SKIP
    ...     print(attempt.setting, attempt.calibration.margins)
    >>> for word in run.recording().words():                         # doctest: +SKIP
    ...     ...

A recording is a stream of bytes in samples of 8. For the export "pti" it consists of packets of 512 bytes:

    >>> packet = bytes(510) + (0x08FF).to_bytes(2, "little")
    >>> recording = orvtrace.Recording(packet * 3, "pti")
    >>> len(recording), [each.is_trace for each in recording.packets()], len(recording.payload())
    (192, [True, True, True], 1530)

Failures are OSError for files that cannot be opened and FormatError for contents that are damaged.
"""

from __future__ import annotations

import json
import re
import struct
import sys
from array import array
from dataclasses import dataclass, field
from pathlib import Path
from typing import Any, BinaryIO, Dict, Iterator, List, Mapping, Optional, Sequence, Union

try:
    import numpy as _numpy
except ImportError:
    _numpy = None  # type: ignore[assignment]

__all__ = [
    "Attempt", "Burst", "Calibration", "FormatError", "Packet", "PinMargins", "PinSettings", "Rates", "Recording", "Run",
    "Section", "open_recording", "read_burst", "read_calibration", "read_registers", "sections",
]

PathLike = Union[str, Path]

SAMPLE_BYTES = 8
PACKET_BYTES = 512
TRACE_SECTION = "BinTraceData"
EXPORT_KINDS = ("pti", "tpiu", "tpiulite")
NOT_SET = 0x7FFFFFFF  # a margin without any change of the data

_IDENTIFIER = b"TDF\x1a\x01\x00\x00\x00"
_TYPE_MASK = 0xF800
_TRACE_TYPE = 0x0800
_OTHER_TYPE = 0x1000
_USUAL_RATE = 1.4e9
_PREFIXES = {"y": -24, "z": -21, "a": -18, "f": -15, "p": -12, "n": -9, "u": -6, "m": -3, "": 0,
             "k": 3, "M": 6, "G": 9, "T": 12, "P": 15, "E": 18, "Z": 21, "Y": 24}


class FormatError(ValueError):
    """The contents of a file are not what they should be; the text names file, place and fault."""


def _words(data: bytes) -> "array[int]":
    """Little-endian words of 16 bits.

    >>> list(_words(b"\\x23\\x01\\x67\\x45"))
    [291, 17767]
    """
    words = array("H")
    words.frombytes(data)
    if sys.byteorder == "big":
        words.byteswap()
    return words


# Recordings


@dataclass(frozen=True)
class Packet:
    """512 bytes of a stream. Without packets ("tpiu", "tpiulite") everything is payload."""

    offset: int  #: of its first byte in the stream
    data: bytes  #: as recorded, with its trailer
    trailer: Optional[int]  #: the last word of a "pti" packet

    @property
    def is_trace(self) -> bool:
        """Whether its payload is trace."""
        return self.trailer is None or self.trailer & _TYPE_MASK == _TRACE_TYPE

    @property
    def is_valid(self) -> bool:
        """False if its last word is no trailer."""
        return self.trailer is None or self.trailer & _TYPE_MASK in (_TRACE_TYPE, _OTHER_TYPE)

    @property
    def cuts_zeros(self) -> bool:
        """Whether a run of zeros at its end does not continue in the next packet."""
        return self.trailer is not None and self.is_trace and self.trailer & 0xFF != 0xFF

    @property
    def payload(self) -> bytes:
        """Its bytes without the trailer; empty for a packet of the other kind."""
        if self.trailer is None:
            return self.data
        return self.data[:-2] if self.is_trace or not self.is_valid else b""

    def words(self) -> "array[int]":
        """Its payload in words of 16 bits."""
        return _words(self.payload[: len(self.payload) // 2 * 2])


class Recording:
    """The bytes of a recording (".bin", ".ver", a raw save, a section of a trace data file).

    `kind` is the kind of export. Without it packets are recognised by their trailers, as the receiver does with its own
    verification: more than half of the packets, the last not counted, end in one.
    """

    def __init__(self, data: bytes, kind: Optional[str] = None, name: str = "recording"):
        if kind is not None and kind not in EXPORT_KINDS:
            raise ValueError(f"kind must be one of {', '.join(EXPORT_KINDS)}, not {kind!r}")
        self.data = data
        self.name = name
        self.kind = kind
        self.has_packets = kind == "pti" if kind is not None else _looks_like_packets(data)

    def __len__(self) -> int:
        """Number of whole samples."""
        return len(self.data) // SAMPLE_BYTES

    def samples(self) -> Iterator[int]:
        """Samples of 64 bits, in the order of the upload.

        >>> list(Recording(b"\\x01" + bytes(15) + b"rest").samples())
        [1, 0]
        """
        for (sample,) in struct.iter_unpack("<Q", self.data[: len(self) * SAMPLE_BYTES]):
            yield sample

    def packets(self) -> Iterator[Packet]:
        """Whole packets. A rest at the end does not come from the unit and is left out."""
        for offset in range(0, len(self.data) - PACKET_BYTES + 1, PACKET_BYTES):
            data = self.data[offset : offset + PACKET_BYTES]
            yield Packet(offset, data, struct.unpack_from("<H", data, PACKET_BYTES - 2)[0] if self.has_packets else None)

    def words(self) -> Iterator[int]:
        """The words of 16 bits that the target sent.

        >>> list(Recording(b"\\xf0\\x0f" * 256, "tpiu").words()) == [0x0FF0] * 256
        True
        """
        for packet in self.packets():
            yield from packet.words()

    def payload_parts(self) -> Iterator[bytes]:
        """What the target sent, packet by packet."""
        for packet in self.packets():
            if packet.payload:
                yield packet.payload

    def payload(self) -> bytes:
        """What the target sent: of "pti" without trailers and packets of the other kind.

        Of a damaged stream, whose packets do not all have 512 bytes, `orvtrace check --payload` recovers more.
        """
        return b"".join(self.payload_parts())


def _looks_like_packets(data: bytes) -> bool:
    count = len(data) // PACKET_BYTES
    found = sum(1 for k in range(1, count)
                if struct.unpack_from("<H", data, k * PACKET_BYTES - 2)[0] & _TYPE_MASK in (_TRACE_TYPE, _OTHER_TYPE))
    return found > count // 2


@dataclass(frozen=True)
class Section:
    """A section of a trace data file."""

    name: str
    version: int
    offset: int  #: of the section in the file
    size: int  #: with its header
    data_offset: int
    data_size: int


def sections(path: PathLike) -> List[Section]:
    """The sections of a trace data file, in their order."""
    with open(path, "rb") as file:
        return list(_sections(file, Path(path)))


def _sections(file: BinaryIO, path: Path) -> Iterator[Section]:
    end = file.seek(0, 2)
    file.seek(0)
    offset = len(_IDENTIFIER) if file.read(len(_IDENTIFIER)) == _IDENTIFIER else 4
    if end < offset:
        raise FormatError(f"{path}: no trace data file: it has {end} bytes")
    while offset < end:
        file.seek(offset)
        header = file.read(12)
        if len(header) < 12:
            raise FormatError(f"{path}: byte {offset}: the header of a section is cut off")
        size, version, length = struct.unpack("<III", header)
        if size < 12 + length or size > end - offset:
            raise FormatError(f"{path}: byte {offset}: a section of {size} bytes does not fit the file")
        name = file.read(length).decode("utf-8", "replace")
        yield Section(name, version, offset, size, offset + 12 + length, size - 12 - length)
        offset += size


def open_recording(path: PathLike, kind: Optional[str] = None, section: Union[str, int] = TRACE_SECTION) -> Recording:
    """Opens samples, or a section of a trace data file (".tdf"): by name, or by its number from 1."""
    path = Path(path)
    if path.suffix.lower() != ".tdf":
        return Recording(path.read_bytes(), kind, str(path))
    with open(path, "rb") as file:
        found = None
        for number, each in enumerate(_sections(file, path), 1):
            if section in (number, each.name):
                found = each
                break
        if found is None:
            raise FormatError(f"{path}: there is no section {section}")
        file.seek(found.data_offset)
        return Recording(file.read(found.data_size), kind, str(path))


# Bursts and calibration reports


def _scaled(text: str, unit: str, path: Path) -> float:
    """
    >>> _scaled("50.00 MHz", "Hz", Path("x"))
    50000000.0
    """
    match = re.fullmatch(r"([-+0-9.eEnaif]+) (.?)" + re.escape(unit), text)
    if match is None or match.group(2) not in _PREFIXES:
        raise FormatError(f"{path}: {text!r} is no number with the unit {unit}")
    return float(f"{match.group(1)}e{_PREFIXES[match.group(2)]}")


@dataclass(frozen=True)
class Rates:
    """The first four lines of a burst and of a calibration report."""

    hertz: float  #: of the trace clock
    words_per_second: float
    bits_per_second: float
    oversampling: float  #: samples in a whole clock period

    @property
    def measured(self) -> bool:
        return self.hertz > 0 and self.oversampling > 0

    @property
    def samples_per_second(self) -> float:
        """Of a burst; the unit's usual rate if no frequency was measured."""
        return self.hertz * self.oversampling if self.measured else _USUAL_RATE


_HEAD = (("exportFrequency", "Hz"), ("dataFrequency", "words/second"), ("dataRate", "bits/second"),
         ("oversampling", "samples/bit"))


def _lines(path: Path) -> List[str]:
    return path.read_text(encoding="utf-8", errors="replace").splitlines()


def _rates(lines: Sequence[str], path: Path) -> Rates:
    values = []
    for number, (key, unit) in enumerate(_HEAD):
        line = lines[number] if number < len(lines) else ""
        if not line.startswith(key + "="):
            raise FormatError(f"{path}:{number + 1}: expected {key}=")
        values.append(_scaled(line[len(key) + 1 :], unit, path))
    return Rates(*values)


@dataclass(frozen=True)
class PinSettings:
    """How the unit conditioned a pin while a burst was taken."""

    rcvrpin: int  #: input of the unit
    filter: int
    plateau: int
    debounce: int
    delay: int  #: samples
    stretch: int  #: half samples
    enable: int


def pin_name(proc: int) -> str:
    """The stable name of a sampled pin.

    >>> pin_name(0), pin_name(2)
    ('clock', 'data2')
    """
    return "clock" if proc == 0 else f"data{proc}"


@dataclass(frozen=True)
class Burst:
    """The level of every pin, sample by sample (".cap.txt"). The clock is first; data1 carries the top bit."""

    rates: Rates
    settings: List[PinSettings]
    levels: Sequence[Sequence[int]]  #: of each pin; numpy arrays where numpy is there

    def __len__(self) -> int:
        """Number of samples."""
        return len(self.levels[0])

    @property
    def names(self) -> List[str]:
        return [pin_name(proc) for proc in range(len(self.levels))]

    def __getitem__(self, name: str) -> Sequence[int]:
        """The levels of "clock", "data1" and so on."""
        if name not in self.names:
            raise KeyError(name)
        return self.levels[self.names.index(name)]

    def nanoseconds(self, sample: int) -> float:
        """The time of a sample, from the burst's first one."""
        return sample * 1e9 / self.rates.samples_per_second

    def changes(self, name: str) -> List[int]:
        """Samples that differ from the preceding one."""
        levels = bytes(bytearray(self[name]))
        return [i for i in range(1, len(levels)) if levels[i] != levels[i - 1]]


def read_burst(path: PathLike) -> Burst:
    """Reads ".cap.txt" and ".err.cap.txt"."""
    path = Path(path)
    lines = _lines(path)
    rates = _rates(lines, path)
    settings: List[PinSettings] = []
    at = len(_HEAD)
    while at < len(lines) and lines[at].startswith(f"P{len(settings)} : "):
        pairs = dict(item.split("=", 1) for item in lines[at].split(" : ", 1)[1].split(",") if "=" in item)
        try:
            settings.append(PinSettings(**{key: int(value) for key, value in pairs.items()}))
        except (TypeError, ValueError) as error:
            raise FormatError(f"{path}:{at + 1}: settings of P{len(settings)}: {error}") from None
        at += 1
    heading = " ".join([f"P{i}" for i in range(len(settings))] + ["Sample"])
    if not settings or at >= len(lines) or lines[at] != heading:
        raise FormatError(f"{path}:{at + 1}: expected the heading of the samples, {heading!r}")
    levels = [bytearray() for _ in settings]
    for sample, line in enumerate(lines[at + 1 :]):
        fields = line.split()
        if len(fields) != len(levels) + 1 or fields[-1] != str(sample) or not set(fields[:-1]) <= {"0", "1"}:
            raise FormatError(f"{path}:{at + 2 + sample}: expected {len(levels)} levels and sample {sample}")
        for pin, level in zip(levels, fields):
            pin.append(level == "1")
    if not levels[0]:
        raise FormatError(f"{path}: there are no samples")
    if _numpy is not None:
        return Burst(rates, settings, [_numpy.frombuffer(bytes(pin), dtype=_numpy.uint8) for pin in levels])
    return Burst(rates, settings, [bytes(pin) for pin in levels])


@dataclass(frozen=True)
class PinMargins:
    """Margins of a data pin in samples; None if no change of the data was seen."""

    hold: Optional[int]  #: from a clock edge to the data's next change
    setup: Optional[int]  #: from the data's last change to the clock edge


@dataclass(frozen=True)
class Calibration:
    """The report of an attempt (".cal.txt").

    An attempt that ended early repeats, for what it did not measure, figures of an earlier one: `orvtrace calibrate --json`
    leaves these out.
    """

    rates: Rates
    margins: Dict[str, PinMargins]  #: by pin, without the clock
    properties: Dict[str, str]  #: what was set

    def values(self, name: str) -> List[int]:
        """A list of the properties, the clock first: "delays", "stretches", "filters", "debounces", "plateaus"."""
        return [int(value) for value in self.properties[name].split(",")]


def _margin(text: str) -> Optional[int]:
    return None if int(text) == NOT_SET else int(text)


def read_calibration(path: PathLike) -> Calibration:
    """Reads ".cal.txt"."""
    path = Path(path)
    lines = _lines(path)
    margins: Dict[str, PinMargins] = {}
    properties: Dict[str, str] = {}
    section = ""
    for number, line in enumerate(lines[len(_HEAD) :], len(_HEAD) + 1):
        if line.startswith("["):
            section = line.strip("[]")
        elif section == "Properties" and "=" in line:
            key, value = line.split("=", 1)
            properties[key] = value
        elif section.startswith("Data ") and line.startswith("margin="):
            match = re.fullmatch(r"margin=-(\d+),\+(\d+)", line)
            if match is None:
                raise FormatError(f"{path}:{number}: {line!r} has no two margins")
            margins["data" + section[5:]] = PinMargins(_margin(match.group(1)), _margin(match.group(2)))
    if "plateaus" not in properties:
        raise FormatError(f"{path}: the report is cut off: it has no plateaus")
    return Calibration(_rates(lines, path), margins, properties)


def read_registers(path: PathLike) -> Dict[int, int]:
    """Reads ".reg.txt": the content of each register by its address."""
    path = Path(path)
    registers: Dict[int, int] = {}
    for number, line in enumerate(_lines(path), 1):
        match = re.fullmatch(r"0x([0-9a-f]{8})=0x([0-9a-f]{4})", line)
        if match is not None:
            registers[int(match.group(1), 16)] = int(match.group(2), 16)
        elif line:
            raise FormatError(f"{path}:{number}: {line!r} is no register")
    return registers


# Runs


@dataclass(frozen=True)
class Attempt:
    """What a frequency setting left. Files that are missing are None."""

    setting: int
    stem: Path

    def _path(self, ending: str) -> Optional[Path]:
        path = self.stem.with_name(self.stem.name + ending)
        return path if path.exists() else None

    @property
    def calibration(self) -> Optional[Calibration]:
        path = self._path(".cal.txt")
        return None if path is None else read_calibration(path)

    @property
    def burst(self) -> Optional[Burst]:
        path = self._path(".cap.txt")
        return None if path is None else read_burst(path)

    @property
    def registers(self) -> Optional[Dict[int, int]]:
        path = self._path(".reg.txt")
        return None if path is None else read_registers(path)

    def verification(self) -> Optional[Recording]:
        """The short recording of a known pattern."""
        path = self._path(".ver")
        return None if path is None else open_recording(path, self.export_kind)

    @property
    def export_kind(self) -> Optional[str]:
        """The kind of export, as the calibration's report has it."""
        calibration = self.calibration
        kind = None if calibration is None else calibration.properties.get("drmXmtr")
        return kind if kind in EXPORT_KINDS else None


@dataclass
class Run:
    """A run's folder: that of `orvtrace --out`, its ".VX-trace", or the folder with the receiver's files.

    >>> Run("no/such/folder")
    Traceback (most recent call last):
    ...
    FileNotFoundError: no/such/folder: no run: no folder .VX-trace/data with a .cfg file
    """

    folder: PathLike
    stem: Path = field(init=False)  #: path of the receiver's files without their endings

    def __post_init__(self) -> None:
        root = Path(self.folder)
        for place in (root / ".VX-trace" / "data", root / "data", root):
            found = sorted(place.glob("*.cfg"), key=lambda path: path.stat().st_mtime) if place.is_dir() else []
            if found:
                self.stem = found[-1].with_suffix("")
                return
        raise FileNotFoundError(f"{root}: no run: no folder .VX-trace/data with a .cfg file")

    def _path(self, ending: str) -> Path:
        return self.stem.with_name(self.stem.name + ending)

    @property
    def attempts(self) -> List[Attempt]:
        """Attempts of the calibration, in their order: from the fastest setting down. The kept one is the last."""
        settings = set()
        prefix = self.stem.name + ".freq"
        for path in self.stem.parent.glob("*.freq*"):
            number = path.name[len(prefix) :].split(".", 1)[0] if path.name.startswith(prefix) else ""
            if number.isdigit():
                settings.add(int(number))
        return [Attempt(number, self._path(f".freq{number}")) for number in sorted(settings, reverse=True)]

    @property
    def properties(self) -> Dict[str, str]:
        """Of the channel, from the file that the receiver wrote."""
        found: Dict[str, str] = {}
        section = ""
        for line in _lines(self._path(".cfg")):
            text = line.strip()
            if text.startswith("["):
                section = text.strip("[]")
            elif section.startswith("Channel") and "=" in text:
                key, value = text.split("=", 1)
                found[key.strip()] = value.strip()
        return found

    @property
    def export_kind(self) -> Optional[str]:
        """The kind of export, as the reports of the attempts have it."""
        for attempt in reversed(self.attempts):
            if attempt.export_kind is not None:
                return attempt.export_kind
        return None

    def recording(self) -> Recording:
        """The last recording."""
        return open_recording(self._path(".bin"), self.export_kind)

    @property
    def checks(self) -> Optional[Mapping[str, Any]]:
        """What orvtrace has checked; None for a run of another host."""
        path = self._path(".checks.json")
        return json.loads(path.read_text(encoding="utf-8")) if path.exists() else None


if __name__ == "__main__":
    import doctest

    sys.modules.setdefault("orvtrace", sys.modules["__main__"])
    sys.exit(1 if doctest.testmod().failed else 0)
