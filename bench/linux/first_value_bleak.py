#!/usr/bin/env python3
"""How long python3-bleak (Debian) takes from connecting to the first value of the virtual machine's
peripheral, which BlueZ knows already: the median of five."""

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


async def once():
    properties = {"Adapter": "/org/bluez/hci0"}
    device = BLEDevice(ADDRESS, "Conformant", {"path": PATH, "props": properties}, 0)
    begin = time.monotonic()
    async with BleakClient(device) as client:
        await client.read_gatt_char(LEVEL)
        return time.monotonic() - begin


async def main():
    times = []
    for _ in range(5):
        times.append(await once())
        await asyncio.sleep(0.5)
    print(f"{'the same with bleak':28} {statistics.median(times) * 1e3:8.0f} ms")


try:
    asyncio.run(main())
except (BleakError, TimeoutError) as error:
    # With both ends in one daemon BlueZ may see the ATT channel before the link; then it announces no
    # connection ("already connected" in bluetoothd.log), and bleak waits for one.
    sys.exit(f"{'the same with bleak':28} not measured, bleak gave up: {error}")
