#!/usr/bin/env python3
"""Fails unless a shared library exports exactly the functions that the public header declares."""

import pathlib
import re
import subprocess
import sys

HEADER = pathlib.Path(__file__).parent.parent / "include/corvaneble/corvaneble.h"


def main() -> int:
    code = re.sub(r"/\*.*?\*/|//[^\n]*", "", HEADER.read_text(), flags=re.S)
    declared = set(re.findall(r"\bCORVANEBLE_CALL\s+(CorvaneBLE_\w+)\s*\(", code))
    symbols = subprocess.run(
        ["nm", "-D", "--defined-only", sys.argv[1]], check=True, capture_output=True, text=True
    ).stdout
    exported = {line.split()[-1] for line in symbols.splitlines()}
    for name in sorted(declared - exported):
        print(f"declared in {HEADER.name}, but not exported: {name}")
    for name in sorted(exported - declared):
        print(f"exported, but not declared in {HEADER.name}: {name}")
    print(f"{len(declared)} functions declared, {len(exported)} names exported")
    return 0 if declared and declared == exported else 1


if __name__ == "__main__":
    sys.exit(main())
