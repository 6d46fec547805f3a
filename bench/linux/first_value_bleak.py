#!/usr/bin/env python3
"""Measures the time that python3-bleak (Debian) takes from connecting to the first value of the
peripheral in the virtual machine, which BlueZ already knows: the median of five successful runs.

When both ends are in one daemon, BlueZ may see the ATT channel before the link. Then it announces
no connection ("already connected" in bluetoothd.log), and bleak waits for one and gives up."""

import asyncio
import statistics
import sys
import time

from bleak import BleakClient
from bleak.backends.device import BLEDevice
from bleak.exc import BleakError

ADDRESS = "00:AA:01:01:00:01"
PATH = "/org/bluez/hci0/dev_" + ADDRESS.replace(":", "_")
LEVEL = "00002a19-0000-1000-8000-00805f9b34fb"
TIMES = 5
TRIES = 20


async def once():
    properties = {"Adapter": "/org/bluez/hci0"}
    device = BLEDevice(ADDRESS, "Conformant", {"path": PATH, "props": properties}, 0)
    begin = time.monotonic()
    async with BleakClient(device, timeout=3) as client:
        await client.read_gatt_char(LEVEL)
        return time.monotonic() - begin


async def main():
    times = []
    given_up = 0
    while len(times) < TIMES and len(times) + given_up < TRIES:
        try:
            times.append(await once())
        except (BleakError, EOFError, TimeoutError, asyncio.TimeoutError) as error:
            print(f"bleak gave up: {error!r}", file=sys.stderr)
            given_up += 1
        await asyncio.sleep(0.5)
    if len(times) < TIMES:
        sys.exit(f"{'the same with bleak':28} not measured, bleak gave up {given_up} times")
    median = statistics.median(times) * 1e3
    print(f"{'the same with bleak':28} {median:8.0f} ms (gave up {given_up} times)")


asyncio.run(main())
