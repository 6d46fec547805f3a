#!/usr/bin/env python3
"""Scans for a heart rate strap, connects to it, and prints ten heart rates."""

import sys
from typing import Optional

import corvaneble

WANTED_RATES = 10
PLACES = ("somewhere", "the chest", "a wrist", "a finger", "a hand", "an ear lobe", "a foot")


def rate_of(value: bytes) -> int:
    """Heart Rate Measurement: flags (bit 0: the rate has 16 bits), then the rate."""
    return int.from_bytes(value[1:3] if value[0] & 1 else value[1:2], "little")


def find_strap(client: corvaneble.Client) -> Optional[str]:
    client.start_scanning("180D")
    for event in client.events(corvaneble.Advertisement, seconds=30):
        return event.server_id
    return None


def main() -> Optional[str]:
    with corvaneble.Client() as client:
        strap = find_strap(client)
        if strap is None:
            return "no strap is in range"
        client.connect(strap)  # ends the scan
        client.discover("180D")
        print("connected to", client.server_name)
        service = client.services()[0].id
        ids = {found.uuid[4:8]: found.id for found in client.characteristics(service)}
        if "2A38" in ids:  # the characteristic is optional
            place = client.read_value(service, ids["2A38"])[0]
            print("worn on", PLACES[place if place < len(PLACES) else 0])

        wanted = corvaneble.Value, corvaneble.Disconnected
        arriving = client.events(*wanted, seconds=60)  # before the first value can arrive
        client.subscribe(service, ids["2A37"])
        for _ in range(WANTED_RATES):
            event = next(arriving, None)
            if not isinstance(event, corvaneble.Value):
                return "the strap fell silent"
            print(rate_of(event.value), "beats a minute")
        client.unsubscribe()
        client.disconnect()
    return None


if __name__ == "__main__":
    try:
        sys.exit(main())
    except corvaneble.CorvaneBLEError as error:
        sys.exit(str(error))
