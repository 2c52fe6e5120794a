#!/usr/bin/env python3
"""Calibrates a board and fails when a margin shrank: for a test bench or a nightly job.

    board_test.py BASELINE.json -- --scenario bench-cable
    board_test.py BASELINE.json --allow 2 -- --settings channel.xml --cpu board/core

What follows "--" are the options of `orvtrace calibrate`. The first run writes the baseline: keep it beside the board's
tests. Later runs compare with it and print a line for each pin:

    data1  setup  6 ( 6)  hold  5 ( 6)

The exit code is 0 if all margins are there, 1 if one shrank by more than --allow samples, if the board calibrates at a
lower rate, or if a pin is missing; a failed calibration passes orvtrace's code on. Margins are in samples of the capture
unit; one sample of difference between two runs is usual.
"""

import argparse
import json
import subprocess
import sys
import tempfile
from pathlib import Path
from typing import Dict, List, Optional

MARGINS = ("setupMargin", "holdMargin")


def calibrated(program: str, options: List[str]) -> Dict:
    """The result of `orvtrace calibrate --json`; ends this program if there is none."""
    with tempfile.TemporaryDirectory() as folder:
        command = [program, "calibrate", "--json", "--quiet", "--out", str(Path(folder) / "run"), *options]
        done = subprocess.run(command, stdout=subprocess.PIPE, check=False)
    result = json.loads(done.stdout or "{}")
    if done.returncode not in (0, 10) or "calibration" not in result:
        error = result.get("error") or {}
        print(f"board test: {error.get('text', 'no result')}", file=sys.stderr)
        sys.exit(done.returncode or 1)
    return result


def accepted_attempt(result: Dict) -> Dict:
    """The attempt whose values were kept."""
    return next(each for each in result["calibration"]["attempts"] if each["verdict"] == "accepted")


def summary(result: Dict) -> Dict:
    """What a baseline keeps."""
    attempt = accepted_attempt(result)
    pins = {pin["name"]: {key: pin[key] for key in MARGINS} for pin in attempt["pins"] if pin["name"] != "clock"}
    return {"hertz": attempt["hertz"], "pins": pins}


def shrunk(now: Optional[int], before: Optional[int], allowed: int) -> bool:
    """A margin without any change of the data is null: nothing can be compared with it."""
    return now is not None and before is not None and now < before - allowed


def compare(now: Dict, before: Dict, allowed: int) -> List[str]:
    """The faults, a line each."""
    faults = []
    if now["hertz"] < before["hertz"] * 0.99:
        faults.append(f"calibrated at {now['hertz'] / 1e6:.2f} MHz, {before['hertz'] / 1e6:.2f} MHz before")
    for name, old in before["pins"].items():
        new = now["pins"].get(name)
        if new is None:
            faults.append(f"{name} is missing")
            continue
        print(f"{name:6} setup {new['setupMargin']} ({old['setupMargin']})  hold {new['holdMargin']} ({old['holdMargin']})")
        for key in MARGINS:
            if shrunk(new[key], old[key], allowed):
                faults.append(f"{name}: {key} shrank from {old[key]} to {new[key]} samples")
    return faults


def main(arguments: List[str]) -> int:
    own, options = arguments, []
    if "--" in arguments:
        own, options = arguments[: arguments.index("--")], arguments[arguments.index("--") + 1 :]
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("baseline", type=Path)
    parser.add_argument("--allow", type=int, default=1, metavar="N", help="samples by which a margin may shrink (1)")
    parser.add_argument("--orvtrace", default="orvtrace", metavar="FILE", help="the program (from the search path)")
    parser.add_argument("--renew", action="store_true", help="write the baseline anew")
    given = parser.parse_args(own)
    now = summary(calibrated(given.orvtrace, options))
    if given.renew or not given.baseline.exists():
        given.baseline.write_text(json.dumps(now, indent=2) + "\n", encoding="utf-8")
        print(f"baseline written: {given.baseline}")
        return 0
    faults = compare(now, json.loads(given.baseline.read_text(encoding="utf-8")), given.allow)
    for fault in faults:
        print(f"board test: {fault}", file=sys.stderr)
    return 1 if faults else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
