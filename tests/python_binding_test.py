#!/usr/bin/env python3
"""Tests the Python module beyond what the examples use. CORVANEBLE_LIBRARY names the library,
argument 1 the folder of the scenes."""

import contextlib
import gc
import json
import os
import pathlib
import sys
import threading
import unittest
import weakref

SCENES = pathlib.Path(sys.argv.pop(1))
sys.dont_write_bytecode = True
sys.path.insert(0, str(SCENES.parent / "python"))
import corvaneble  # noqa: E402


def client_in(scene):
    os.environ["CORVANEBLE_RADIO"] = f"simulated:{SCENES / scene}"
    return corvaneble.Client()


class BindingTest(unittest.TestCase):
    def test_echo_of_bytes_with_zeros(self):
        with client_in("echo.json") as client:
            client.connect("C40E00000003")
            client.discover("9A1B0001-3C5D-4E7F-8A9B-0C1D2E3F4051", descriptors=True)
            service = client.services()[-1]
            console, notepad = client.characteristics(service.id)
            self.assertEqual(console.flags & corvaneble.Flags.READ, 0)
            client.subscribe(service.id, console.id)
            heard = client.events(corvaneble.Value, seconds=2)
            client.post_value(service.id, console.id, b"\0a\0")
            self.assertEqual(next(heard).value, b"\0a\0")
            client.set_characteristic_user_description(1, "Zettel für Küche")
            (name,) = (each for each in client.descriptors(service.id, notepad.id)
                       if each.uuid.startswith("00002901"))
            self.assertEqual(client.read_value(service.id, notepad.id, name.id).decode(),
                             "Zettel für Küche")

    def test_arguments_of_the_wrong_kind(self):
        with client_in("echo.json") as client:
            for error, action in [
                    (TypeError, lambda: client.connect(0xC40E00000003)),
                    (TypeError, lambda: client.connect(None)),
                    (TypeError, lambda: client.read_value("001200000000", 0x0013)),
                    (TypeError, lambda: client.write_value("001200000000", "001200130000", 5)),
                    (TypeError, lambda: setattr(client, "timeout", "5")),
                    (TypeError, lambda: setattr(client, "service", 5)),
                    (OverflowError, lambda: setattr(client, "timeout", 2**32)),
                    (OverflowError, lambda: client.service_id(2**40))]:
                with self.assertRaises(error):
                    action()
            self.assertEqual(client.timeout, 60)

    def test_what_handlers_raise_is_raised(self):
        client = client_in("advertisers.json")
        client.on(corvaneble.StartScan, lambda event: 1 / 0)  # raised inside the call
        with self.assertRaises(ZeroDivisionError):
            client.start_scanning()
        client.on(corvaneble.Advertisement, lambda event: event.no_such_field)  # on another thread
        with self.assertRaises(AttributeError):
            for _ in range(50):
                client.do_events()
        client.on(corvaneble.Advertisement, None)
        for _ in range(10):  # each call raises one pending exception
            with contextlib.suppress(AttributeError):
                client.do_events()
        handled = threading.Event()

        def connect_in_vain(_):
            try:
                client.connect("FFFFFFFFFFFF")
            finally:
                handled.set()

        client.on(corvaneble.StopScan, connect_in_vain)
        with self.assertRaisesRegex(corvaneble.CorvaneBLEError, "FFFFFFFFFFFF.*604"):
            client.stop_scanning()
            handled.wait()  # the text of the failure cannot be read from a closed client
            client.close()  # raises the exception of the handler

    def test_every_scene_loads_and_says_what_it_is_for(self):
        for file in sorted(SCENES.iterdir()):
            with self.subTest(file.name), client_in(file.name) as client:
                client.start_scanning()  # 614 if the loader refuses the file
                self.assertTrue(any(client.events(corvaneble.Advertisement, seconds=6)))
                self.assertIn("comment", json.loads(file.read_text(encoding="utf-8")))

    def test_failures_and_the_end(self):
        client = client_in("locked.json")
        with self.assertRaises(corvaneble.CorvaneBLEError) as failed:
            client.service_id(0)
        self.assertEqual((failed.exception.code, failed.exception.text),
                         (432, "Invalid ServiceIndex (out of bounds)."))
        self.assertEqual(client.version, "CORVANEBLE_VERSION_20_0_7928")
        client.start_scanning()
        seen = weakref.ref(client)
        del client, failed  # without close, during a scan
        gc.collect()
        self.assertIsNone(seen())


if __name__ == "__main__":
    unittest.main()
