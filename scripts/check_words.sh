#!/usr/bin/env bash
# Fails if a file refers to a document that is not in the repository, or contains an absolute path of
# one machine. (The brackets in the patterns keep this file from matching.)
set -euo pipefail
. "$(dirname "$0")/lib.sh"

words='\bs[p]ec(s|ification)?\b|\bp[a]rt [0-9]+(\.[0-9]+)?\b|\bi[m]plementer\b|\bs[e]ed\b'
paths='(^|[^[:alnum:]_.])/(w[o]rk|r[o]ot|f[a]rm|h[o]me/[a-z]+|U[s]ers/[A-Za-z]+)/'

found=$(repo_files ':!LICENSE' ':!*.svg' | xargs -r -d '\n' grep -nHIiE "$words" || true)
found+=$(repo_files ':!LICENSE' ':!*.svg' | xargs -r -d '\n' grep -nHIE "$paths" || true)
[[ -z $found ]] && exit 0
printf 'Words and paths that are not allowed:\n%s\n' "$found"
exit 1
