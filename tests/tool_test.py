#!/usr/bin/env python3
"""Tests the command-line tool as a script uses it, on simulated radios. Argument 1 is the tool."""

import csv
import fcntl
import json
import os
import pty
import re
import signal
import struct
import subprocess
import sys
import tempfile
import termios
import threading
import time
import unittest
from xml.etree import ElementTree

TOOL = os.path.abspath(sys.argv.pop(1) if len(sys.argv) > 1 else os.environ["CORVANEBLE_TOOL"])
ADDRESS = "C0FFEE000001"
LIMIT = 300  # seconds; on an idle machine, a run takes at most one

# Value, presentation formats (format, exponent, unit), and the output of the tool.
DECODED = [
    ("2C01", [("uint16", -1, "272F")], "30.0 °C"),
    ("FEFF", [("sint16", -2, "27AD")], "-0.02 %"),
    ("03", [("uint8", 2, "2700")], "300"),
    ("FF", [("uint4", 0, "2700")], "15"),
    ("01", [("boolean", 0, "2700")], "true"),
    ("FFFFFFFFFFFFFFFF", [("uint64", 0, "2700")], "18446744073709551615"),
    ("0000000000000080", [("sint64", 0, "2700")], "-9223372036854775808"),
    ("70F1", [("medfloat16", 0, "272F")], "36.8 °C"),
    ("FF07", [("medfloat16", 0, "272F")], "NaN °C"),
    ("700100FF", [("medfloat32", 0, "272F")], "36.8 °C"),
    ("0000C03F", [("float32", 0, "2700")], "1.5"),
    ("3DD800DE", [("utf16", 0, "2700")], "\U0001f600"),
    ("641E00", [("uint8", 0, "27AD"), ("sint16", -1, "272F")], "100 %, 3.0 °C"),
    ("64", [("uint16", 0, "2700")], None),  # too short for its format
    ("6401", [("uint8", 0, "2700")], None),  # too long
]


def characteristic(value, formats):
    keys = ("format", "exponent", "unit")
    return {"uuid": "2A58", "properties": ["read"], "value": value,
            "descriptors": [{"presentationFormat": dict(zip(keys, f))} for f in formats]}


SCENARIO = {
    "time": "virtual",
    "peripherals": [{
        "address": ADDRESS,
        "name": "Strap",
        "advertising": {
            "interval": 100, "rssi": -52,
            "data": {"name": "St\u001b[2Jrap", "services": ["180D"], "txPower": -4,
                     "manufacturer": [{"company": 76, "data": "0215"}]}},
        "services": [
            {"id": "heart", "uuid": "180D", "includes": ["hidden"], "characteristics": [
                {"uuid": "2A38", "properties": ["read"], "value": "01"},
                {"uuid": "2A39", "properties": ["read"], "value": "00",
                 "readError": "insufficientEncryption"}]},
            {"id": "hidden", "uuid": "180A", "primary": False, "includes": ["heart"],
             "characteristics": [
                 {"uuid": "2A29", "properties": ["read", "notify"], "value": {"utf8": "Corvane"},
                  "descriptors": [{"userDescription": "Maker"}]}]},
            {"uuid": "181A", "characteristics": [characteristic(v, f) for v, f, _ in DECODED]},
        ],
    }],
}

BENCH = "C0FFEE000002"
COUNTED = [f"{number:04X}" for number in range(200)]
CONTROL = (BENCH, "180D", "2A39")

# A device for write and watch; its link is lost and comes back.
BENCH_SCENARIO = {
    "time": "virtual",
    "peripherals": [{
        "address": BENCH,
        "name": "Bench <&\">",
        "services": [
            {"uuid": "180D", "characteristics": [
                {"uuid": "2A37", "properties": ["notify"],
                 "stream": {"interval": 100, "values": ["0048", "012C01", "1649FFFF"]}},
                {"uuid": "2A39", "properties": ["write", "writeWithoutResponse", "read"],
                 "value": "00", "maxLength": 8},
                {"uuid": "2A00", "properties": ["write"],
                 "writeError": "insufficientAuthentication"}]},
            {"uuid": "181A", "characteristics": [
                {"uuid": "2A6E", "properties": ["notify", "writableAuxiliaries"],
                 "stream": {"interval": 150, "values": ["5208", "5C08"]},
                 "descriptors": [
                     {"userDescription": "At <the> window", "writable": True, "maxLength": 32},
                     {"presentationFormat": {"format": "sint16", "exponent": -2,
                                             "unit": "272F"}}]},
                {"uuid": "2A1C", "properties": ["indicate"],
                 "stream": {"interval": 200, "values": ["00D50000FF", "00FFFF7F00"]}}]},
            {"uuid": "1815", "characteristics": [
                {"uuid": "2A58", "properties": ["notify"],
                 "stream": {"interval": 1, "values": COUNTED, "repeat": False}}]},
        ],
        "events": [{"kind": "dropLink", "at": 2000}, {"kind": "restoreLink", "at": 1000}],
    }],
}


class ToolBase(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.directory = directory.name
        self.radio = self.simulate("scenario.json", SCENARIO)

    def simulate(self, name, scenario):
        return "simulated:" + self.write(name, json.dumps(scenario).encode())

    def write(self, name, content):
        path = os.path.join(self.directory, name)
        with open(path, "wb") as file:
            file.write(content)
        return path

    def command(self, *arguments, radio=None):
        return [TOOL, "--radio", radio or self.radio, *arguments]

    def run_tool(self, *arguments, code=0, radio=None, given=b""):
        done = subprocess.run(self.command(*arguments, radio=radio), input=given,
                              capture_output=True, timeout=LIMIT)
        self.assertEqual(done.returncode, code, done)
        return done

    def lines(self, *arguments):
        output = self.run_tool("--json", *arguments).stdout
        return [json.loads(line) for line in output.decode("ascii").splitlines()]


class ToolTest(ToolBase):
    def test_scan_reports_every_field(self):
        heard = self.lines("scan", "--count", "3")
        self.assertEqual(heard, [{
            "id": ADDRESS, "name": "St\u001b[2Jrap", "rssi": -52, "txPower": -4,
            "services": ["0000180D-0000-1000-8000-00805F9B34FB"], "servicesWithData": [],
            "solicited": [], "companyId": 76, "manufacturerData": "0215", "connectable": True,
            "scanResponse": False}] * 3)

    def test_plain_output_has_no_control_characters(self):
        output = self.run_tool("scan", "--count", "1").stdout.decode()
        self.assertIn("St\ufffd[2Jrap", output)
        self.assertNotIn("\x1b", output)

    def test_tree_shows_hidden_services_values_and_errors(self):
        (tree,) = self.lines("tree", "C0:FF:EE:00:00:01", "--values")
        services = {service["uuid"][4:8]: service for service in tree["services"]}
        heart, hidden = services["180D"], services["180A"]
        self.assertEqual((tree["id"], tree["name"]), (ADDRESS, "Strap"))
        self.assertEqual(hidden["includedBy"], [heart["id"]])
        self.assertEqual(heart["includedBy"], [hidden["id"]])
        values = [item["value"] for item in heart["characteristics"]]
        self.assertEqual(values[0], {"hex": "01"})
        self.assertEqual(values[1]["error"]["code"], 715)
        (maker,) = hidden["characteristics"]
        self.assertEqual((maker["flags"], maker["userDescription"], maker["value"]["text"]),
                         (["read", "notify"], "Maker", "Corvane"))
        self.assertEqual([item["uuid"][4:8] for item in maker["descriptors"]], ["2901", "2902"])
        shown = [item["value"].get("decoded") for item in services["181A"]["characteristics"]]
        self.assertEqual(shown, [text for _, _, text in DECODED])

    def test_tree_without_descriptors(self):
        output = self.run_tool("tree", ADDRESS, "--no-descriptors").stdout.decode()
        self.assertNotIn("descriptor", output)
        self.assertRegex(output, r"(?m)^  characteristic [0-9A-F]{8}0000 2A29 .*\[read,notify\]$")

    def test_read(self):
        self.assertEqual(self.run_tool("read", ADDRESS, "180d", "2A38").stdout, b"01\n")
        raw = self.run_tool("read", ADDRESS, "180A", "2A29", "--raw").stdout
        self.assertEqual(raw, b"Corvane")
        (value,) = self.lines("read", ADDRESS, "180A", "2A29", "2901")
        self.assertEqual(value["value"], {"hex": "4D616B6572", "text": "Maker"})
        again = self.lines("read", ADDRESS, value["service"], value["characteristic"].lower(),
                           value["descriptor"])
        self.assertEqual(again, [value])

    def test_failures_have_code_and_text(self):
        cases = [
            (("read", ADDRESS, "180D", "2A39"), b"715 "),
            (("read", ADDRESS, "180D", "2A00"), b"no characteristic 2A00"),
            (("read", ADDRESS, "181A", "2A58"), b"several"),
            (("tree", "C0FFEE0000FF"), b"604 "),
            (("config", "NoSuchSetting"), b"-1 Unknown config setting."),
        ]
        for arguments, text in cases:
            with self.subTest(arguments):
                self.assertIn(text, self.run_tool(*arguments, code=1).stderr)

    def test_config(self):
        output = self.run_tool("config", "BuildInfo", "LogLevel=0x3", "LogLevel").stdout
        self.assertEqual(output, b"20.0.7928\n3\n")

    def test_wrong_usage(self):
        for arguments, text in [
                ((), b"a command is missing"), (("foo",), b"no command foo"),
                (("scan", "foo"), b"foo"), (("scan", "--count", ""), b"--count"),
                (("scan", "--count", "99999999999999999999"), b"--count: is too large"),
                (("scan", "--for", "soon"), b"--for"), (("scan", "--for", "nan"), b"--for"),
                (("scan", "--count", "-1"), b"--count"), (("scan", "--service", "zz"), b"UUID"),
                (("tree", "strap"), b"address"), (("read", ADDRESS, "18"), b"UUID"),
                (("read", ADDRESS, "180F", "2A19", "--raw", "--json"), b"--raw"),
                (("demo", "--json"), b"--json"), (("--radio", "none", "scan"), b"linux:hciN")]:
            with self.subTest(arguments):
                self.assertIn(text, self.run_tool(*arguments, code=2).stderr)
        done = subprocess.run([TOOL, "scan"], env={**os.environ, "CORVANEBLE_RADIO": "none"},
                              capture_output=True, timeout=LIMIT, check=False)
        self.assertEqual((done.returncode, done.stdout), (2, b""))
        self.assertIn(b"CORVANEBLE_RADIO: a radio is auto", done.stderr)

    def test_log_lines_are_readable(self):
        messages = self.run_tool("scan", "--count", "1", "--log", "debug").stderr.decode()
        self.assertRegex(messages, r"(?m)^ +Active scanning: ")
        self.assertNotIn("\ufffd", messages)

    def test_why_there_is_no_adapter(self):
        if b"This build has no" in self.run_tool("radios", radio="linux").stdout:
            self.skipTest("only the Linux radio gives reasons")
        nowhere = "unix:path=" + os.path.join(self.directory, "no-bus")
        done = subprocess.run([TOOL, "--radio", "auto", "scan"], capture_output=True, timeout=LIMIT,
                              env={**os.environ, "DBUS_SYSTEM_BUS_ADDRESS": nowhere}, check=False)
        self.assertEqual(done.returncode, 1)
        reason, failure = done.stderr.splitlines()
        self.assertRegex(reason, rb"^corvaneble: .*bus cannot be reached")
        self.assertRegex(failure, rb"^corvaneble: 613 ")

    @unittest.skipUnless(os.path.exists("/dev/full"), "needs a device that is full")
    def test_lost_output_is_a_failure(self):
        for arguments in ("read", ADDRESS, "180D", "2A38"), ("scan",), ("demo", "--for", "9"), (
                "watch", ADDRESS, "--all", "--csv"), ("--help",):
            for target in ">/dev/full", ">&-":
                with self.subTest(arguments, target=target):
                    done = subprocess.run(["sh", "-c", f'exec "$0" "$@" {target}',
                                           *self.command(*arguments)],
                                          stderr=subprocess.PIPE, timeout=LIMIT, check=False)
                    self.assertEqual(done.returncode, 1, done)
                    self.assertIn(b"cannot write the output: ", done.stderr)

    def test_bad_files(self):
        wrong = self.write("wrong.json", b'{"peripherals": [{"address": "nobody"}]}')
        done = self.run_tool("scan", code=2, radio="simulated:" + wrong)
        self.assertIn(b"wrong.json: peripherals[0].address", done.stderr)
        capture = b"btsnoop\0" + struct.pack(">II", 1, 1002) + b"\0\0\0"
        self.write("cut.btsnoop", capture)
        named = self.write("capture.json", b'{"captures": ["cut.btsnoop"]}')
        for path in named, os.path.join(self.directory, "cut.btsnoop"):
            done = self.run_tool("tree", ADDRESS, code=2, radio="simulated:" + path)
            self.assertIn(b"cut.btsnoop", done.stderr)

    def test_radios(self):
        (radio,) = self.lines("radios")
        self.assertEqual((radio["radio"], radio["usable"]), (self.radio, True))
        missing = self.run_tool("radios", radio="windows").stdout
        self.assertRegex(missing, rb"windows     no   614 .+")

    def test_leaving_in_the_middle(self):
        for leave, code in ((lambda tool: tool.send_signal(signal.SIGINT), 130),
                            (lambda tool: tool.stdout.close(), -signal.SIGPIPE)):
            with subprocess.Popen(self.command("scan"), stdout=subprocess.PIPE,
                                  stderr=subprocess.PIPE) as tool:
                self.assertIn(b"dBm", tool.stdout.readline())
                leave(tool)
                if not tool.stdout.closed:
                    tool.stdout.read()
                self.assertEqual(tool.stderr.read(), b"")
                self.assertEqual(tool.wait(LIMIT), code)


class BenchTest(ToolBase):
    """Tests write, watch and report."""

    def setUp(self):
        super().setUp()
        self.radio = self.simulate("bench.json", BENCH_SCENARIO)

    def drawing(self, *arguments):
        """Runs watch --plot and returns all texts, and the points of each line by its name."""
        path = os.path.join(self.directory, "plot.svg")
        self.run_tool("watch", BENCH, *arguments, "--plot", path)
        svg = {"svg": "http://www.w3.org/2000/svg"}
        root = ElementTree.parse(path).getroot()
        lines = {group.find("svg:title", svg).text:
                 [(float(dot.get("cx")), float(dot.get("cy")))
                  for dot in group.findall("svg:circle", svg)]
                 for group in root.findall("svg:g", svg)}
        return [text.text for text in root.findall("svg:text", svg)], lines

    def test_write_and_post(self):
        path = self.write("value.bin", b"\0\xff")
        cases = [
            (("0x01 02:03",), b"01 02 03\n"),
            (("",), b"(empty)\n"),
            (("--text", "H\u00e9"), b"48 C3 A9  \"H\xc3\xa9\"\n"),
            (("--file", path), b"00 FF\n"),
            (("--file", "-"), b"70 69 70 65  \"pipe\"\n"),
        ]
        for value, shown in cases:
            with self.subTest(value):
                done = self.run_tool("write", *CONTROL, *value, "--read-back", given=b"pipe")
                self.assertEqual(done.stdout, shown)
        (written,) = self.lines("write", BENCH, "181A", "2A6E", "2901", "4F6E", "--read-back")
        self.assertEqual((written["written"], written["value"]["text"]), ("4F6E", "On"))
        (posted,) = self.lines("post", *CONTROL, "07")
        self.assertEqual((posted["uuid"][4:8], posted["written"]), ("2A39", "07"))

    def test_values_that_cannot_be_written(self):
        long = self.write("long.bin", bytes(513))
        for value in ("123",), ("0x",), ("zz",), (), ("01", "02"), ("01", "--text", "x"), (
                "--file", long), ("--file", "no-such-file"), ("--file", self.directory):
            with self.subTest(value):
                self.assertEqual(self.run_tool("write", *CONTROL, *value, code=2).stdout, b"")
        for source in "<&-", "</":
            done = subprocess.run(["sh", "-c", f'exec "$0" "$@" {source}',
                                   *self.command("write", *CONTROL, "--file", "-", "--read-back")],
                                  capture_output=True, timeout=LIMIT, check=False)
            self.assertEqual((done.returncode, done.stdout), (2, b""))
            self.assertIn(b"cannot read standard input: ", done.stderr)
        for arguments, text in [
                (("write", BENCH, "180D", "2A00", "01"), b"705 "),
                (("write", *CONTROL, "010203040506070809"), b"713 "),
                (("post", BENCH, "180D", "2A01", "01"), b"no characteristic 2A01"),
                (("describe", *CONTROL, "--set", "x"), b"602 ")]:
            with self.subTest(arguments):
                self.assertIn(text, self.run_tool(*arguments, code=1).stderr)

    @unittest.skipUnless(os.path.exists("/proc/self/stat"), "needs to see that the tool waits")
    def test_leaving_while_input_is_awaited(self):
        with subprocess.Popen(self.command("write", *CONTROL, "--file", "-"),
                              stdin=subprocess.PIPE, stdout=subprocess.PIPE) as tool:
            os.write(tool.stdin.fileno(), b"\1")
            state, unread = "", bytes(4)
            while state != "S" or unread != bytes(4):
                unread = fcntl.ioctl(tool.stdin, termios.FIONREAD, bytes(4))
                with open(f"/proc/{tool.pid}/stat", encoding="ascii") as file:
                    state = file.read().rsplit(") ", 1)[1][0]
            tool.send_signal(signal.SIGINT)
            self.assertEqual(tool.wait(LIMIT), 130)

    def test_describe_and_report(self):
        thermometer = (BENCH, "181A", "2A6E")
        self.assertEqual(self.run_tool("describe", *thermometer).stdout, b"At <the> window\n")
        (described,) = self.lines("describe", *thermometer, "--set", "Door")
        self.assertEqual(described["userDescription"], "Door")
        report = self.run_tool("report", BENCH, "--descriptors").stdout.decode()
        self.assertRegex(report, r"(?m)^>>00002A6E-.*UserDescr=\"At <the> window\", VFCount=1\]$")
        self.assertRegex(report, r"(?m)^>>>00002904-")
        self.assertNotIn("\n>>>", self.run_tool("report", BENCH).stdout.decode())

    def test_watch_decodes(self):
        seen = self.lines("watch", BENCH, "--all", "--count", "400")
        decoded = {(value["hex"], value["decoded"], value["number"], value["unit"])
                   for value in seen if value["uuid"][4:8] != "2A58"}
        self.assertEqual(decoded, {
            ("0048", "72 bpm", 72, "bpm"), ("012C01", "300 bpm", 300, "bpm"),
            ("1649FFFF", "73 bpm", 73, "bpm"), ("5208", "21.30 \u00b0C", 21.3, "\u00b0C"),
            ("5C08", "21.40 \u00b0C", 21.4, "\u00b0C"),
            ("00D50000FF", "21.3 \u00b0C", 21.3, "\u00b0C"),
            ("00FFFF7F00", "NaN \u00b0C", None, None)})
        times = [value["time"] for value in seen]
        self.assertEqual(times, sorted(times))
        self.assertRegex(times[0], r"^\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z$")

    def test_watch_loses_nothing_and_ends_at_the_count(self):
        output = self.run_tool("watch", BENCH, "--characteristic", "2A58", "--csv", "--count",
                               str(len(COUNTED))).stdout.decode()
        rows = list(csv.DictReader(output.splitlines()))
        self.assertEqual([row["hex"] for row in rows], COUNTED)
        self.assertEqual(list(rows[0]),
                         ["time", "service", "characteristic", "name", "hex", "value", "unit"])
        self.assertEqual((rows[0]["value"], rows[0]["unit"]), ("", ""))

    def test_watch_survives_a_lost_link(self):
        done = self.run_tool("watch", BENCH, "180D", "2A37", "--count", "40", "--log", "info")
        self.assertEqual(done.stdout.count(b"\n"), 40)
        order = [done.stderr.index(text) for text in (b"Successfully subscribed", b"link was lost",
                                                      b"link is back", b"Unsubscribing")]
        self.assertEqual(order, sorted(order))
        self.assertEqual(done.stderr.count(b"Successfully subscribed"), 2)

    def test_watch_follows_changed_services(self):
        (device,) = BENCH_SCENARIO["peripherals"]
        heart, *_ = device["services"]
        for after, arguments, code, text in [
                ([{"uuid": "180A"}, heart], ("180D", "2A37"), 0, b"changed its services"),
                ([{"uuid": "180A"}, heart], ("--characteristic", "2A37"), 0, b"looking for"),
                ([{"uuid": "180A"}], ("180D", "2A37"), 1, b"no service 180D")]:
            events = [{"kind": "changeServices", "at": 1000, "services": after}]
            radio = self.simulate("changing.json", {
                **BENCH_SCENARIO,
                "peripherals": [{**device, "services": [heart], "events": events}]})
            plot = os.path.join(self.directory, "changing.svg")
            with self.subTest(arguments, after=after):
                done = self.run_tool("watch", BENCH, *arguments, "--count", "30", "--json",
                                     "--plot", plot, code=code, radio=radio)
                self.assertIn(text, done.stderr)
                values = [json.loads(line) for line in done.stdout.splitlines()]
                self.assertEqual({value["decoded"] for value in values},
                                 {"72 bpm", "300 bpm", "73 bpm"})
                self.assertEqual(len({value["characteristic"] for value in values}), 2 - code)
                with open(plot, encoding="utf-8") as file:
                    self.assertEqual(file.read().count("<title>Heart"), 1)

    def test_plot(self):
        texts, lines = self.drawing("180D", "2A37", "181A", "2A6E", "--count", "30")
        self.assertEqual(set(lines), {"Heart Rate Measurement", "At <the> window"})
        self.assertEqual(texts[0], 'Bench <&"> (C0FFEE000002)')
        for text in "beats per minute (bpm)", "degree Celsius (\u00b0C)", "time (s)", "100", "300":
            self.assertIn(text, texts)
        dots = lines["Heart Rate Measurement"]
        self.assertEqual(sum(map(len, lines.values())), 30)
        self.assertEqual([x for x, _ in dots], sorted(x for x, _ in dots))
        self.assertLess(dots[1][1], dots[2][1])  # 300 is drawn above 73
        self.assertAlmostEqual((dots[2][1] - dots[1][1]) / (dots[0][1] - dots[1][1]), 227 / 228,
                               delta=0.005)

    def test_plots_of_next_to_nothing(self):
        texts, lines = self.drawing("180D", "2A37", "--count", "1")
        self.assertEqual(len(lines["Heart Rate Measurement"]), 1)
        self.assertIn("65", texts)  # the axis has a range around 72
        texts, lines = self.drawing("1815", "2A58", "--count", "1")
        self.assertEqual(lines, {})
        self.assertIn("No numeric values were received.", texts)

    def test_watch_that_cannot_be(self):
        plot = os.path.join(self.directory, "nowhere", "plot.svg")
        for arguments, code in [((), 2), (("180D",), 2), (("--all", "--csv", "--json"), 2),
                                (("--characteristic", "2AAA"), 1), (("180D", "2A39"), 1),
                                (("--all", "--count", "1", "--plot", plot), 1)]:
            with self.subTest(arguments):
                self.assertEqual(self.run_tool("watch", BENCH, *arguments, code=code).stdout, b"")

    def test_interrupted_watch_unsubscribes(self):
        (device,) = BENCH_SCENARIO["peripherals"]
        steady = {**BENCH_SCENARIO, "peripherals": [{**device, "events": []}]}
        with subprocess.Popen(self.command("watch", BENCH, "180D", "2A37", "--log", "info",
                                           radio=self.simulate("steady.json", steady)),
                              stdout=subprocess.PIPE, stderr=subprocess.PIPE) as tool:
            self.assertIn(b"bpm", tool.stdout.readline())
            tool.send_signal(signal.SIGINT)
            _, messages = tool.communicate(timeout=LIMIT)
            self.assertEqual(tool.returncode, 130)
        self.assertLess(messages.index(b"Successfully unsubscribed"),
                        messages.index(b"Disconnected from server"))


    def test_a_flood_ends_in_time_and_what_was_dropped_is_told(self):
        flood = {"uuid": "2A58", "properties": ["notify"],
                 "stream": {"interval": 1, "values": ["00" * 20]}}
        radio = self.simulate("flood.json", {"time": "real", "peripherals": [
            {"address": BENCH, "services": [{"uuid": "1815", "characteristics": [flood] * 5}]}]})
        with open(TOOL, "rb") as file:
            is_sanitized = b"san_init" in file.read()
        for limit, code in (["--for", "4"], 0), ([], 130):
            with self.subTest(limit), subprocess.Popen(
                    self.command("watch", BENCH, "--all", "--json", *limit, radio=radio),
                    stdout=subprocess.PIPE, stderr=subprocess.PIPE) as tool:
                self.addCleanup(tool.kill)
                self.assertTrue(tool.stdout.readline())
                begin = time.monotonic()
                if code == 130:
                    threading.Timer(4, tool.send_signal, [signal.SIGINT]).start()
                while tool.stdout.read1(2048):
                    time.sleep(0.01)  # a slow terminal
                    self.assertLess(time.monotonic() - begin, 60)
                self.assertRegex(tool.stderr.read(), rb"^corvaneble: \d+ values came faster")
                _, status, usage = os.wait4(tool.pid, 0)
                tool.returncode = os.waitstatus_to_exitcode(status)
                self.assertEqual(tool.returncode, code)
                self.assertTrue(is_sanitized or usage.ru_maxrss < 65536, usage.ru_maxrss)  # KiB


class TerminalTest(ToolBase):
    """Tests the output on a terminal with 24 lines of 90 columns: tables that are redrawn."""

    def screens(self, *arguments, radio=None, no_color=False):
        ours, theirs = pty.openpty()
        fcntl.ioctl(theirs, termios.TIOCSWINSZ, struct.pack("4H", 24, 90, 0, 0))
        environment = {name: value for name, value in os.environ.items() if name != "NO_COLOR"}
        if no_color:
            environment["NO_COLOR"] = "1"
        with subprocess.Popen(self.command(*arguments, radio=radio), stdout=theirs, stdin=theirs,
                              stderr=subprocess.DEVNULL, env=environment) as tool:
            os.close(theirs)
            output = b""
            try:
                while part := os.read(ours, 4096):
                    output += part
            except OSError:  # Linux reports a closed other end this way
                pass
            os.close(ours)
        self.assertEqual(tool.returncode, 0)
        self.assertNotIn(b"\x1b[2J", output)  # a device name must not clear the screen
        return re.split(r"\x1b\[\d+A\x1b\[J", output.decode())

    def test_scan_keeps_one_line_a_device(self):
        for no_color in (False, True):
            last = self.screens("scan", "--count", "3", no_color=no_color)[-1]
            self.assertEqual(last.count(ADDRESS), 1, last)
            self.assertIn("-52", last)
            self.assertEqual("\x1b[1m" in last, not no_color)

    def test_watch_draws_how_values_move(self):
        (device,) = BENCH_SCENARIO["peripherals"]
        steady = {**BENCH_SCENARIO, "peripherals": [{**device, "events": []}]}
        last = self.screens("watch", BENCH, "180D", "2A37", "--count", "6",
                            radio=self.simulate("steady.json", steady))[-1]
        (row,) = [line for line in last.splitlines() if line.startswith("Heart Rate Measurement")]
        self.assertRegex(row, r" 6  [▁-█]{6} *$")
        plain = re.sub(r"\x1b\[\d*m", "", last)
        self.assertLess(max(map(len, plain.splitlines())), 90)  # a full line would scroll

    def test_demo_ends_with_what_it_did(self):
        last = self.run_tool("demo", "--for", "2").stdout.decode().splitlines()[-1]
        self.assertRegex(last, r"^Heard \d+ devices; .* gave \d+ values\. Disconnected; all done\.$")


if __name__ == "__main__":
    unittest.main()
