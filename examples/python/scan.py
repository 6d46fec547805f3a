#!/usr/bin/env python3
"""Prints every advertisement that is received within five seconds."""

import sys

import corvaneble


def main() -> int:
    with corvaneble.Client() as client:
        client.start_scanning()
        for event in client.events(corvaneble.Advertisement, seconds=5):
            print(f"{event.server_id} {event.rssi:4} dBm  {event.name}")
    return 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except corvaneble.CorvaneBLEError as error:
        sys.exit(str(error))
