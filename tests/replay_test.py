"""Replays a capture of real devices through the tool, and so through the whole library. Compares
every event with the output of btmon for the same file.

usage: replay_test.py TOOL CAPTURE. Exits with 77 (skipped) and the reason without capture or btmon.
"""

import json
import os
import re
import shutil
import subprocess
import sys

SKIPPED = 77
BASE_TAIL = "-0000-1000-8000-00805F9B34FB"
CONNECTABLE = {"ADV_IND", "ADV_DIRECT_IND"}


def canonical(uuid):
    """Completes a UUID of btmon, which prints assigned numbers as 0x180d."""
    if uuid.startswith("0x"):
        return uuid[2:].upper().rjust(8, "0") + BASE_TAIL
    return uuid.upper()


def reports_of(capture):
    """Returns the fields that btmon decodes from each advertising report."""
    text = subprocess.run(["btmon", "-r", capture], capture_output=True, text=True,
                          check=True).stdout
    text = re.sub(r"\x1b\[[0-9;]*m", "", text)
    reports, current, listing = [], None, False
    for line in text.splitlines():
        if re.match(r"[<>@=]", line):
            current = None
        stripped = line.strip()
        if re.match(r"Entry \d+$", stripped):
            current = {"name": "", "services": [], "companyId": None, "txPower": None}
            reports.append(current)
            continue
        if current is None:
            continue
        if match := re.match(r"Legacy PDU Type: (\S+)", stripped):
            current["connectable"] = match[1] in CONNECTABLE
            current["scanResponse"] = match[1] == "SCAN_RSP"
        elif match := re.match(r"Address: ([0-9A-F:]{17})", stripped):
            current["id"] = match[1].replace(":", "")
        elif match := re.match(r"RSSI: (-?\d+) dBm", stripped):
            current["rssi"] = int(match[1])
        elif stripped.startswith("Data length:"):
            current["data"] = True  # the following lines belong to the payload, not to the report
        elif "data" in current and (match := re.match(r"TX power: (-?\d+) dBm", stripped)):
            current["txPower"] = int(match[1])
        elif match := re.match(r"Name \((complete|short)\): (.*)", stripped):
            current["name"] = match[2]
        elif match := re.match(r"Company: .*\((\d+)\)$", stripped):
            if current["companyId"] is None:
                current["companyId"] = int(match[1])
        listing = bool(re.match(r"\d+-bit Service UUIDs", stripped)) or (
            listing and line.startswith(" " * 10))
        if listing and (match := re.search(r"\((0x[0-9a-f]+)\)$|^([0-9a-f-]{36})$", stripped)):
            current["services"].append(canonical(match[1] or match[2]))
    for report in reports:
        report.pop("data", None)
    return reports


def events_of(tool, capture):
    output = subprocess.run(
        [tool, "scan", "--radio", "simulated:" + capture, "--active", "--json", "--for", "1"],
        capture_output=True, text=True, check=True, timeout=300).stdout
    return [json.loads(line) for line in output.splitlines()]


def main():
    tool, capture = sys.argv[1:]
    if not os.path.exists(capture):
        print(f"skipped: there is no recording {os.path.basename(capture)} beside the checkout")
        return SKIPPED
    if shutil.which("btmon") is None:
        print("skipped: btmon (package bluez) is not installed")
        return SKIPPED
    reports, events = reports_of(capture), events_of(tool, capture)
    assert len(reports) == 38, f"btmon prints {len(reports)} reports"
    assert len(events) == len(reports), f"{len(events)} events for {len(reports)} reports"
    for number, (report, event) in enumerate(zip(reports, events), 1):
        for field, expected in report.items():
            assert event[field] == expected, f"report {number}: {field}: {event[field]!r}, " \
                                             f"btmon has {expected!r}"
    print(f"{len(events)} events agree with btmon")
    return 0


if __name__ == "__main__":
    sys.exit(main())
