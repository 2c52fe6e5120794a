"""The module orvtrace and the example scripts, against what the program orvtrace says about the same files.

    orvtrace_test.py PROGRAM SOURCES [unittest's options]
"""

import csv
import doctest
import io
import json
import os
import re
import shutil
import subprocess
import sys
import tempfile
import unittest
import xml.etree.ElementTree
from pathlib import Path

PROGRAM, SOURCES = Path(sys.argv[1]).resolve(), Path(sys.argv[2]).resolve()
sys.path.insert(0, str(SOURCES / "python"))

import orvtrace  # noqa: E402


def output_of(*arguments, code=0):
    done = subprocess.run([str(PROGRAM), *map(str, arguments)], stdout=subprocess.PIPE, stderr=subprocess.PIPE, check=False)
    if done.returncode != code:
        raise AssertionError(f"orvtrace {arguments} ended with {done.returncode}: {done.stderr.decode()}")
    return done.stdout


def json_of(*arguments, code=0):
    return json.loads(output_of(*arguments, "--json", code=code))


class Runs(unittest.TestCase):
    """Two runs on the bench: packets, and frames without packets."""

    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        cls.root = Path(cls.folder.name)
        cls.results = {}
        for scenario in ("step-down", "tpiu"):
            place = cls.root / scenario
            cls.results[scenario] = json_of(
                "record", "--scenario", scenario, "--out", place, "--save", cls.root / f"{scenario}.tdf",
                "--raw", cls.root / f"{scenario}.bin", "--buffer", "256k", "--repeat", "2")

    @classmethod
    def tearDownClass(cls):
        cls.folder.cleanup()

    def run_of(self, scenario):
        return orvtrace.Run(self.root / scenario)


class RecordingTest(Runs):
    def test_payload_is_what_the_program_extracts(self):
        for scenario, kind in (("step-down", "pti"), ("tpiu", "tpiu")):
            recording = self.run_of(scenario).recording()
            self.assertEqual(recording.kind, kind)
            payload = self.root / "payload"
            output_of("check", self.run_of(scenario).stem.with_suffix(".bin"), "--payload", payload, "--force")
            self.assertEqual(recording.payload(), payload.read_bytes())
            words = list(recording.words())
            self.assertEqual(len(words) * 2, len(payload.read_bytes()))
            self.assertEqual(b"".join(word.to_bytes(2, "little") for word in words), payload.read_bytes())

    def test_samples_are_counted_as_the_program_counts(self):
        for scenario, result in self.results.items():
            recording = self.run_of(scenario).recording()
            self.assertEqual(len(recording), result["recordings"][-1]["samples"])
            self.assertEqual(sum(1 for _ in recording.samples()), len(recording))
            self.assertEqual(next(recording.samples()), int.from_bytes(recording.data[:8], "little"))

    def test_packets_are_recognised_without_a_kind(self):
        file = self.run_of("step-down").attempts[-1].stem
        self.assertTrue(orvtrace.open_recording(f"{file}.ver").has_packets)
        self.assertFalse(orvtrace.Recording(b"\x23\x01\x67\x45" * 4096).has_packets)
        # Two packets are too few: the last one does not count.
        packet = bytes(510) + b"\xff\x08"
        self.assertEqual([orvtrace.Recording(packet * count).has_packets for count in range(5)],
                         [False, False, False, True, True])

    def test_a_verification_has_the_form_of_its_export(self):
        for scenario, has_packets in (("step-down", True), ("tpiu", False)):
            verification = self.run_of(scenario).attempts[-1].verification()
            self.assertEqual(verification.has_packets, has_packets)
            packets = list(verification.packets())
            self.assertEqual(len(packets), 512)
            self.assertTrue(all(packet.is_valid and packet.is_trace for packet in packets))
            self.assertEqual(len(packets[0].words()), 255 if has_packets else 256)

    def test_sections_are_those_of_the_program(self):
        for scenario in self.results:
            file = self.root / f"{scenario}.tdf"
            listed = json_of("tdf", "list", file)["sections"]
            found = orvtrace.sections(file)
            self.assertEqual([(each.name, each.version, each.offset, each.size, each.data_offset, each.data_size)
                              for each in found],
                             [(each["name"], each["version"], each["offset"], each["size"], each["dataOffset"],
                               each["dataSize"]) for each in listed])
            self.assertEqual(len(found), 2)
            for number in (1, 2):
                raw = (self.root / f"{scenario}-{number}.bin").read_bytes()
                self.assertEqual(orvtrace.open_recording(file, section=number).data, raw)
            self.assertEqual(orvtrace.open_recording(file).data, (self.root / f"{scenario}-1.bin").read_bytes())

    def test_damaged_trace_data_files_are_refused(self):
        file = self.root / "damaged.tdf"
        whole = (self.root / "tpiu.tdf").read_bytes()
        for size in (3, 10, 100, len(whole) - 1):
            file.write_bytes(whole[:size])
            with self.assertRaises(orvtrace.FormatError):
                orvtrace.sections(file)
        file.write_bytes(whole)
        with self.assertRaises(orvtrace.FormatError):
            orvtrace.open_recording(file, section="no such")
        # Another program's identifier has 4 bytes.
        file.write_bytes(b"ABCD" + whole[8:])
        self.assertEqual([each.offset - 4 for each in orvtrace.sections(file)],
                         [each.offset - 8 for each in orvtrace.sections(self.root / "tpiu.tdf")])
        # The version of this format precedes sections at byte 8; half of it is another identifier.
        file.write_bytes(whole[:8])
        self.assertEqual(orvtrace.sections(file), [])


class RunTest(Runs):
    def test_attempts_are_those_of_the_program(self):
        for scenario, result in self.results.items():
            attempts = self.run_of(scenario).attempts
            told = result["calibration"]["attempts"]
            self.assertEqual([each.setting for each in attempts], [each["setting"] for each in told])
            self.assertEqual(told[-1]["verdict"], "accepted")
            calibration = attempts[-1].calibration
            self.assertAlmostEqual(calibration.rates.hertz / told[-1]["hertz"], 1, places=2)
            pins = {pin["name"]: pin for pin in told[-1]["pins"]}
            self.assertEqual({name: (margins.setup, margins.hold) for name, margins in calibration.margins.items()},
                             {name: (pin["setupMargin"], pin["holdMargin"]) for name, pin in pins.items()
                              if name != "clock"})
            self.assertEqual(calibration.values("delays"), [pin["delay"] for pin in pins.values()])
            self.assertEqual(len(attempts[-1].registers), 51)
            self.assertEqual(self.run_of(scenario).checks["schema"], 1)
            self.assertIn("pinMap", self.run_of(scenario).properties)

    def test_a_folder_without_a_run_is_no_run(self):
        with self.assertRaises(FileNotFoundError):
            orvtrace.Run(self.root / "nowhere")

    def test_the_receivers_own_folder_is_one_too(self):
        whole = self.run_of("tpiu")
        for place in (".VX-trace", ".VX-trace/data"):
            self.assertEqual(orvtrace.Run(self.root / "tpiu" / place).stem, whole.stem)


class BurstTest(Runs):
    def burst_file(self, scenario):
        return self.run_of(scenario).attempts[-1].stem.with_name(self.run_of(scenario).attempts[-1].stem.name + ".cap.txt")

    def test_levels_are_those_that_the_program_writes(self):
        for scenario in self.results:
            file = self.burst_file(scenario)
            burst = orvtrace.read_burst(file)
            rows = list(csv.reader(io.StringIO(output_of("burst", file, "--csv", "-").decode())))
            bits = [f"D{bit}" for bit in reversed(range(len(burst.names) - 1))]
            self.assertEqual(rows[0], ["sample", "nanoseconds", "CLK", *bits])
            self.assertEqual(len(rows) - 1, len(burst))
            for i, name in enumerate(burst.names):
                self.assertEqual([int(row[2 + i]) for row in rows[1:]], [int(level) for level in burst[name]])
            for sample in (1, 777, 8191):
                self.assertAlmostEqual(burst.nanoseconds(sample), float(rows[1 + sample][1]), places=2)
            told = json_of("burst", file, "--csv", self.root / "burst.csv", "--force")
            self.assertAlmostEqual(burst.rates.samples_per_second / told["samplesPerSecond"], 1, places=9)
            self.assertEqual(burst.names, told["pins"])

    def test_levels_are_the_same_without_numpy(self):
        file = self.burst_file("tpiu")
        script = ("import sys; sys.modules['numpy'] = None; sys.path.insert(0, sys.argv[1]); import orvtrace; "
                  "b = orvtrace.read_burst(sys.argv[2]); assert isinstance(b.levels[0], bytes); "
                  "print([sum(pin) for pin in b.levels], b.changes('data1')[:50])")
        plain = subprocess.run([sys.executable, "-B", "-c", script, str(SOURCES / "python"), str(file)],
                               stdout=subprocess.PIPE, check=True).stdout.decode().strip()
        burst = orvtrace.read_burst(file)
        self.assertEqual(plain, str([sum(map(int, pin)) for pin in burst.levels]) + " " + str(burst.changes("data1")[:50]))
        try:
            import numpy
        except ImportError:
            self.fail("Debian's python3-numpy is missing; run tools/install-packages test")
        self.assertIsInstance(burst.levels[0], numpy.ndarray)

    def test_damaged_files_are_refused_with_their_line(self):
        lines = self.burst_file("tpiu").read_text().splitlines(keepends=True)
        file = self.root / "damaged.cap.txt"
        for damaged, place in ((lines[:2], ":3: "), (lines[:6], ":"), (lines[:40] + lines[41:], ":41: "),
                               (lines[:40] + [lines[40][:-5]], ":41: "), (lines[:9] + ["x\n"] + lines[10:], ":10: ")):
            file.write_text("".join(damaged))
            with self.assertRaises(orvtrace.FormatError) as caught:
                orvtrace.read_burst(file)
            self.assertIn(str(file) + place, str(caught.exception))

    def test_a_report_that_is_cut_off_is_refused(self):
        report = self.run_of("tpiu").attempts[-1].stem.with_name(self.run_of("tpiu").attempts[-1].stem.name + ".cal.txt")
        file = self.root / "cut.cal.txt"
        file.write_text(report.read_text()[:200])
        with self.assertRaises(orvtrace.FormatError):
            orvtrace.read_calibration(file)


class ExamplesTest(Runs):
    def script(self, name, *arguments):
        environment = dict(os.environ, PYTHONPATH=str(SOURCES / "python"), PYTHONDONTWRITEBYTECODE="1")
        return subprocess.run([sys.executable, str(SOURCES / "examples" / name), *map(str, arguments)],
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE, env=environment, check=False)

    def board_test(self, kept, scenario, *arguments):
        done = self.script("board-test/board_test.py", self.root / kept, "--orvtrace", PROGRAM, *arguments, "--",
                           "--scenario", scenario)
        stays = re.search(rb"the files of this run stay in (.*)\n", done.stderr)
        if stays:
            self.addCleanup(shutil.rmtree, stays[1].decode())
        return done

    def board(self, name, before="", after="", more=""):
        """The scenario clean, changed: without jitter it calibrates the same each time."""
        text = (SOURCES / "bench" / "scenarios" / "clean.toml").read_text()
        self.assertIn(before, text)
        file = self.root / name
        file.write_text((text.replace(before, after) if before else text) + more)
        return file

    def test_the_board_test_keeps_a_calibration_and_compares_with_it(self):
        first = self.board_test("kept", "bench-cable")
        self.assertEqual(first.returncode, 0, first.stderr)
        self.assertEqual(first.stdout.decode(), f"calibration kept: {self.root / 'kept'}\n")
        # The folder of the run is gone, and what is kept needs nothing of it.
        again = self.board_test("kept", "bench-cable")
        self.assertEqual(again.returncode, 0, again.stdout + again.stderr)
        self.assertIn(b"B: ", again.stdout)
        told = json_of("diff", self.root / "kept", self.root / "kept")
        self.assertTrue(told["equal"])
        self.assertEqual(told["a"]["verdict"]["kind"], "sound")

    def test_the_board_test_fails_where_a_margin_shrank(self):
        self.board_test("before", "clean")
        # Falling edges that come late make a pin's eye smaller.
        worn = self.board("worn.toml", more="\n[[wiring.pin]]\nemu = 4\nlate_fall = 4.0\n")
        worse = self.board_test("before", worn, "--allow", "0.5")
        self.assertEqual(worse.returncode, 10, worse.stdout + worse.stderr)
        self.assertIn(b"the hold margin of D3 (EMU4) shrank most, by 1.0 samples", worse.stdout)
        self.assertIn(b"the files of this run stay in", worse.stderr)
        self.assertEqual(self.board_test("before", worn).returncode, 0)

    def test_the_board_test_fails_where_the_board_is_slower(self):
        self.board_test("fast", "clean")
        slower = self.board_test("fast", self.board("slower.toml", "[25e6, 50e6]", "[25e6]", ""))
        self.assertEqual(slower.returncode, 10, slower.stdout + slower.stderr)
        self.assertIn(b"different: the clock is 50 MHz in A and 25 MHz in B", slower.stdout)

    def test_the_board_test_fails_where_a_pin_is_missing(self):
        self.board_test("four", "clean")
        self.assertEqual(self.board_test("four", "two-pin").returncode, 10)

    def test_the_board_test_fails_where_the_board_is_refused(self):
        self.board_test("good", "clean")
        refused = self.board_test("good", "stuck-pin")
        self.assertEqual(refused.returncode, 10, refused.stderr)
        self.assertIn(b"different: B is not calibrated", refused.stdout)

    def test_the_board_test_passes_a_failed_calibration_on(self):
        for scenario, code in (("stuck-pin", 5), ("no-such", 3)):
            failed = self.board_test("other", scenario)
            self.assertEqual(failed.returncode, code, failed.stderr)
            self.assertFalse((self.root / "other").exists())

    def test_the_eye_has_a_row_for_each_pin(self):
        attempt = self.run_of("step-down").attempts[-1]
        picture = self.root / "eye.svg"
        done = self.script("eye/eye.py", attempt.stem.with_name(attempt.stem.name + ".cap.txt"), picture)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertEqual(done.stdout.count(b" ns open)"), 4)
        drawn = xml.etree.ElementTree.parse(picture).getroot()
        texts = [each.text for each in drawn.iter("{http://www.w3.org/2000/svg}text")]
        self.assertLess({"data1", "data2", "data3", "data4", "clock edge"}, set(texts))


class DocumentTest(Runs):
    def test_the_script_of_the_document_works(self):
        page = (SOURCES / "docs" / "python.md").read_text()
        script = "\n".join(line[4:] for line in page.split("## Module")[0].splitlines() if line.startswith("    ") or not line)
        (self.root / "run").symlink_to(self.root / "step-down")
        environment = dict(os.environ, PYTHONPATH=str(SOURCES / "python"), PYTHONDONTWRITEBYTECODE="1")
        done = subprocess.run([sys.executable, "-c", script], stdout=subprocess.PIPE, stderr=subprocess.PIPE,
                              env=environment, cwd=self.root, check=False)
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertIn(f"{len(self.run_of('step-down').recording())} samples of 8 bytes".encode(), done.stdout)

    def test_every_name_of_the_module_is_in_the_document(self):
        page = (SOURCES / "docs" / "python.md").read_text()
        for name in ("Run", "open_recording", "Recording", "sections", "read_burst", "read_calibration", "read_registers"):
            self.assertIn(f"| `{name}", page)


class DocumentationTest(unittest.TestCase):
    def test_examples_in_the_docstrings_hold(self):
        self.assertEqual(doctest.testmod(orvtrace).failed, 0)

    def test_everything_public_is_documented(self):
        for name in orvtrace.__all__:
            self.assertTrue(getattr(orvtrace, name).__doc__, name)


if __name__ == "__main__":
    unittest.main(argv=[sys.argv[0], *sys.argv[3:]])
