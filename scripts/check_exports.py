#!/usr/bin/env python3
"""Fails unless a shared library exports exactly the functions that the public header declares, with
undecorated names. Also fails if a DLL imports a library that is not part of Windows."""

import pathlib
import re
import subprocess
import sys

HEADER = pathlib.Path(__file__).parent.parent / "include/corvaneble/corvaneble.h"
SYSTEM_DLLS = {"KERNEL32.dll", "USER32.dll", "msvcrt.dll"}


def run(*command: str) -> str:
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def exports_and_imports(library: str):
    if library.endswith(".dll"):
        headers = run("objdump", "-p", library)
        names = re.findall(r"^\s*\[ *\d+\] (\w\S*)$", headers, flags=re.M)
        return set(names), set(re.findall(r"DLL Name: (\S+)", headers))
    symbols = run("nm", "-D", "--defined-only", library)
    return {line.split()[-1] for line in symbols.splitlines()}, set()


def main() -> int:
    code = re.sub(r"/\*.*?\*/|//[^\n]*", "", HEADER.read_text(), flags=re.S)
    declared = set(re.findall(r"\bCORVANEBLE_CALL\s+(CorvaneBLE_\w+)\s*\(", code))
    exported, imported = exports_and_imports(sys.argv[1])
    for name in sorted(declared - exported):
        print(f"declared in {HEADER.name}, but not exported: {name}")
    for name in sorted(exported - declared):
        print(f"exported, but not declared in {HEADER.name}: {name}")
    for name in sorted(imported - SYSTEM_DLLS):
        print(f"imported, but not part of Windows: {name}")
    print(f"{len(declared)} functions declared, {len(exported)} names exported")
    return 0 if declared and declared == exported and imported <= SYSTEM_DLLS else 1


if __name__ == "__main__":
    sys.exit(main())
