#!/usr/bin/env bash
# Prints the ratio of test code to product code, in lines that are neither blank nor comments. The
# target is a third.
set -euo pipefail
. "$(dirname "$0")/lib.sh"

count_lines() { xargs -r -d '\n' cat | grep -cvE '^[[:space:]]*(//.*)?$' || true; }

product=$(repo_files '*.cpp' '*.h' '*.hpp' '*.c' '*.cc' | grep -vE '^(tests|fuzz|bench)/' | count_lines)
tests=$(repo_files 'tests/*' | grep -E '\.(cpp|h|hpp|c|cc|py|sh)$' | count_lines)
awk -v p="${product:-0}" -v t="${tests:-0}" 'BEGIN {
  printf "tests: %d lines for %d lines of product, ratio %.2f (wanted 0.28 to 0.36)\n", t, p, p ? t / p : 0
}'
