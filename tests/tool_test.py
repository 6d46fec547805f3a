#!/usr/bin/env python3
"""The command-line tool as a script sees it, on simulated radios: argument 1 is the tool."""

import json
import os
import signal
import struct
import subprocess
import sys
import tempfile
import unittest

TOOL = os.path.abspath(sys.argv.pop(1) if len(sys.argv) > 1 else os.environ["CORVANEBLE_TOOL"])
ADDRESS = "C0FFEE000001"

# Value, presentation formats (format, exponent, unit), and how the tool shows it.
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


class ToolTest(unittest.TestCase):
    def setUp(self):
        directory = tempfile.TemporaryDirectory()
        self.addCleanup(directory.cleanup)
        self.directory = directory.name
        self.radio = "simulated:" + self.write("scenario.json", json.dumps(SCENARIO).encode())

    def write(self, name, content):
        path = os.path.join(self.directory, name)
        with open(path, "wb") as file:
            file.write(content)
        return path

    def command(self, *arguments, radio=None):
        return [TOOL, "--radio", radio or self.radio, *arguments]

    def run_tool(self, *arguments, code=0, radio=None):
        done = subprocess.run(self.command(*arguments, radio=radio), stdin=subprocess.DEVNULL,
                              capture_output=True, timeout=60)
        self.assertEqual(done.returncode, code, done)
        return done

    def lines(self, *arguments):
        output = self.run_tool("--json", *arguments).stdout
        return [json.loads(line) for line in output.decode("ascii").splitlines()]

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
        for arguments in (), ("scan", "--for", "soon"), ("tree", "strap"), ("read", ADDRESS, "18"):
            with self.subTest(arguments):
                self.run_tool(*arguments, code=2)

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
        missing = self.run_tool("radios", radio="no-such-radio").stdout
        self.assertRegex(missing, rb"no-such-radio  no   614 .+")

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
                self.assertEqual(tool.wait(60), code)


if __name__ == "__main__":
    unittest.main()
