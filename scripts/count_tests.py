#!/usr/bin/env python3
"""Prints "PASSED FAILED SKIPPED" of the last test run in a build folder, or, with --unit, of the
report of one program.

Every ctest entry counts as one case, except for the unit tests, whose cases count one by one. A
report that should be there and is not (the program crashed) counts as a failure.
"""

import json
import pathlib
import sys
import xml.etree.ElementTree as xml


def count_ctest(report: pathlib.Path):
    """Yields (name, outcome) for each entry."""
    for case in xml.parse(report).getroot().iter("testcase"):
        status = case.get("status")
        if status == "run":
            yield case.get("name"), "passed"
        elif status in ("notrun", "disabled"):
            # A test program that was not built is a failure; only a test that says so is skipped.
            skip = case.find("skipped")
            reason = (skip.get("message") or "") if skip is not None else ""
            missing = "not found" in reason.lower() or "unable" in reason.lower()
            yield case.get("name"), "failed" if missing else "skipped"
        else:
            yield case.get("name"), "failed"


def count_unit(report: pathlib.Path):
    for suite in json.loads(report.read_text())["testsuites"]:
        for case in suite["testsuite"]:
            if case.get("failures"):
                yield "failed"
            elif case["result"] == "COMPLETED":
                yield "passed"
            else:
                yield "skipped"


def main() -> None:
    totals = {"passed": 0, "failed": 0, "skipped": 0}
    if sys.argv[1] == "--unit":
        try:
            outcomes = list(count_unit(pathlib.Path(sys.argv[2])))
        except (OSError, ValueError):
            outcomes = ["failed"]
        for outcome in outcomes:
            totals[outcome] += 1
        print(*totals.values())
        return
    folder = pathlib.Path(sys.argv[1])
    try:
        entries = list(count_ctest(folder / "ctest.xml"))
    except (OSError, xml.ParseError):
        entries = [("ctest", "failed")]
    for name, outcome in entries:
        if name != "unit":
            totals[outcome] += 1
            continue
        try:
            outcomes = list(count_unit(folder / "unit.json"))
        except (OSError, ValueError):
            outcomes = []
        if outcome == "failed" and "failed" not in outcomes:
            outcomes.append("failed")  # crashed, leaked, or raced: no case failed, the run did
        for each in outcomes:
            totals[each] += 1
    print(totals["passed"], totals["failed"], totals["skipped"])


if __name__ == "__main__":
    main()
