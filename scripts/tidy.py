#!/usr/bin/env python3
"""Runs clang-tidy over the sources of src/ and tools/, on all processors; remembers what passed.

usage: tidy.py BUILD_DIR [FILE...]

A source that passed is skipped until it, a header of the repository that it includes, its compile
command or .clang-tidy changes. The memory lives in BUILD_DIR/tidy-passed.json.
"""

import concurrent.futures
import hashlib
import json
import os
import pathlib
import shlex
import subprocess
import sys

ROOT = pathlib.Path(__file__).resolve().parent.parent
TIDY = "clang-tidy-14"


def headers_of(command: dict) -> list[pathlib.Path]:
    """The files of the repository that a source includes, itself first."""
    args = shlex.split(command["command"])
    if pathlib.Path(args[0]).name == "ccache":
        args = args[1:]
    if "-o" in args:
        at = args.index("-o")
        del args[at : at + 2]
    args = [arg for arg in args if arg != "-c"] + ["-MM"]
    run = subprocess.run(args, cwd=command["directory"], capture_output=True, text=True, check=True)
    names = run.stdout.partition(":")[2].replace("\\\n", " ").split()
    return [pathlib.Path(command["directory"], name).resolve() for name in names]


def key_of(command: dict) -> str:
    """What a verdict depends on."""
    digest = hashlib.sha256((ROOT / ".clang-tidy").read_bytes())
    digest.update(command["command"].encode())
    for path in headers_of(command):
        digest.update(path.read_bytes())
    return digest.hexdigest()


def examine(command: dict, folder: pathlib.Path, passed: dict) -> tuple[str, str | None, str]:
    """Returns (source, key if it passed, output)."""
    source = command["file"]
    key = key_of(command)
    if passed.get(source) == key:
        return source, key, ""
    run = subprocess.run(
        [TIDY, "--quiet", "-p", str(folder), source], capture_output=True, text=True, check=False
    )
    return source, key if run.returncode == 0 else None, run.stdout + run.stderr


def main() -> int:
    folder = pathlib.Path(sys.argv[1]).resolve()
    wanted = {str(pathlib.Path(name).resolve()) for name in sys.argv[2:]}
    commands = {
        command["file"]: command
        for command in json.loads((folder / "compile_commands.json").read_text())
        if pathlib.Path(command["file"]).is_relative_to(ROOT / "src")
        or pathlib.Path(command["file"]).is_relative_to(ROOT / "tools")
    }
    if wanted:
        commands = {source: each for source, each in commands.items() if source in wanted}
    memory = folder / "tidy-passed.json"
    before = json.loads(memory.read_text()) if memory.exists() else {}
    now, faulty = {}, 0
    with concurrent.futures.ThreadPoolExecutor(os.cpu_count()) as pool:
        jobs = [pool.submit(examine, each, folder, before) for each in commands.values()]
        for job in concurrent.futures.as_completed(jobs):
            source, key, output = job.result()
            if key:
                now[source] = key
            else:
                faulty += 1
                print(output, flush=True)
    memory.write_text(json.dumps({**before, **now} if wanted else now))
    print(f"{len(commands)} sources looked at, {faulty} with faults")
    return 1 if faulty or not commands else 0


if __name__ == "__main__":
    sys.exit(main())
