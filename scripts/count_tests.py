#!/usr/bin/env python3
"""Prints "PASSED FAILED SKIPPED" for the last test run in a build folder, or for one test program.

    count_tests.py FOLDER
    count_tests.py --unit REPORT passed|failed     REPORT of a program, and whether it passed

Every ctest entry counts as one case, except the unit tests, whose cases count individually. A
missing report (the program crashed) counts as a failure.
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
            # A test program that was not built is a failure, not a skipped test.
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


def outcomes_of_unit(report: pathlib.Path, run: str):
    """The outcomes of the cases of a program. If no case failed but the run did (crash, leak or data
    race), there is one more failure."""
    try:
        outcomes = list(count_unit(report))
    except (OSError, ValueError):
        outcomes, run = [], "failed"
    return outcomes + ["failed"] * (run == "failed" and "failed" not in outcomes)


def outcomes_of_folder(folder: pathlib.Path):
    try:
        entries = list(count_ctest(folder / "ctest.xml"))
    except (OSError, xml.ParseError):
        entries = [("ctest", "failed")]
    for name, outcome in entries:
        yield from outcomes_of_unit(folder / "unit.json", outcome) if name == "unit" else [outcome]


def main() -> None:
    if sys.argv[1] == "--unit":
        outcomes = outcomes_of_unit(pathlib.Path(sys.argv[2]), sys.argv[3])
    else:
        outcomes = list(outcomes_of_folder(pathlib.Path(sys.argv[1])))
    print(*(outcomes.count(each) for each in ("passed", "failed", "skipped")))


if __name__ == "__main__":
    main()
