#!/usr/bin/env python3
"""Calibrates a board and fails when a margin shrank: for a test bench or a nightly job.

    board_test.py KEPT -- --scenario bench-cable
    board_test.py KEPT --allow 5 -- --settings channel.xml --cpu board/core

What follows "--" are the options of `orvtrace calibrate`. The first run keeps the files of its calibration in the folder
KEPT: keep it beside the board's tests. Later runs calibrate anew and end with what `orvtrace diff --allow` prints about
the two calibrations. To keep a newer one, remove the folder.

The exit code is 0 if the board is as good as it was, 10 if a margin shrank by more than --allow samples, if the board
calibrates at a lower rate or not at all, or if a pin is missing; other failures pass orvtrace's code on. Two calibrations
of one board differ by up to 3.1 samples of the capture unit, so that a lower limit also finds what is no fault.
"""

import argparse
import json
import shutil
import subprocess
import sys
import tempfile
from pathlib import Path
from typing import Dict, List

FAULTS_FOUND = 10
REFUSED = 5


def calibrate(program: str, options: List[str], folder: Path) -> Dict:
    """The result of `orvtrace calibrate --json`, which says itself what went wrong. Without one this program ends."""
    command = [program, "calibrate", "--json", "--quiet", "--out", str(folder), *options]
    done = subprocess.run(command, stdout=subprocess.PIPE, check=False)
    result = json.loads(done.stdout or "{}")
    if done.returncode not in (0, REFUSED, FAULTS_FOUND) or not result.get("calibration"):
        sys.exit(done.returncode or 1)
    return result


def stem_of(result: Dict) -> Path:
    """What the names of the calibration's files begin with, in the folder of the receiver's files."""
    files = result["files"]
    return Path(files["receiverFolder"]) / Path(files["settings"]).stem


def keep(stem: Path, folder: Path) -> None:
    """Copies the files of a calibration. With a real unit the next calibration of that name overwrites them."""
    folder.mkdir(parents=True)
    for file in stem.parent.iterdir():
        if file.name.startswith(stem.name + ".") and file.suffix != ".bin":
            shutil.copy2(file, folder)


def run_test(given: argparse.Namespace, options: List[str], folder: Path) -> int:
    """Calibrates in a new folder; the exit code."""
    result = calibrate(given.orvtrace, options, folder)
    if given.kept.exists():
        diff = [given.orvtrace, "diff", str(given.kept), str(stem_of(result)), "--allow", str(given.allow)]
        return subprocess.run(diff, check=False).returncode
    if result["exitCode"] != 0:
        print("board test: not calibrated, so nothing is kept", file=sys.stderr)
        return result["exitCode"]
    keep(stem_of(result), given.kept)
    print(f"calibration kept: {given.kept}")
    return 0


def main(arguments: List[str]) -> int:
    own, options = arguments, []
    if "--" in arguments:
        own, options = arguments[: arguments.index("--")], arguments[arguments.index("--") + 1 :]
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("kept", type=Path, metavar="KEPT", help="folder of the kept calibration; made by the first run")
    parser.add_argument("--allow", type=float, default=4.0, metavar="N", help="samples by which a margin may shrink (4)")
    parser.add_argument("--orvtrace", default="orvtrace", metavar="FILE", help="the program (from the search path)")
    given = parser.parse_args(own)
    folder = Path(tempfile.mkdtemp(prefix="board-test-"))
    code = 1
    try:
        code = run_test(given, options, folder / "run")
    finally:
        if code == 0 or not (folder / "run").exists():
            shutil.rmtree(folder)
        else:
            print(f"board test: the files of this run stay in {folder}", file=sys.stderr)
    return code


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
