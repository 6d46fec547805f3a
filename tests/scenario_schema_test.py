#!/usr/bin/env python3
"""The scenario schema accepts documented scenarios and refuses those that the loader refuses."""
import json
import pathlib
import re
import sys

import jsonschema

root = pathlib.Path(__file__).resolve().parent.parent
schema = json.loads((root / "docs/scenario.schema.json").read_text())
jsonschema.Draft202012Validator.check_schema(schema)
validator = jsonschema.Draft202012Validator(schema)

scene = (root / "src/backends/simulated/BuiltInScene.cpp").read_text()
examples = re.findall(r'R"json\((.*?)\)json"', scene, re.S)
examples += re.findall(r"```json\n(.*?)```", (root / "docs/scenarios.md").read_text(), re.S)
examples += [file.read_text() for file in (root / "examples/scenes").glob("*.json")]
malformed = json.loads((root / "tests/data/malformed_scenarios.json").read_text())

failures = [f"refused: {error.json_path}: {error.message}"
            for text in examples for error in validator.iter_errors(json.loads(text))]
failures += [f"accepted: {case['scenario']}" for case in malformed
             if not case.get("loaderOnly") and validator.is_valid(case["scenario"])]
if len(examples) < 2:
    failures.append("the built-in scene or the guide's example was not found")
print("\n".join(failures) or f"{len(examples)} examples, {len(malformed)} malformed scenarios")
sys.exit(1 if failures else 0)
