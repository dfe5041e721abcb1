#!/usr/bin/env bash
# fuzz/run.sh SECONDS: runs every fuzz target for SECONDS, one after the other.
#
# Each target starts from a scratch copy of its committed corpus (fuzz/corpus/<target>/,
# json_agreement from json_records'),
# so the committed corpus is never changed, with its dictionary (fuzz/dict/) when there
# is one. Exits non-zero when any target finds a crash, a leak, a timeout or a broken
# invariant; the input is kept as fuzz/artifacts/<target>-crash-... for reproduction:
#   $FUZZ_BUILD/fuzz/<target>_fuzzer fuzz/artifacts/<target>-crash-...
#
# Environment: FUZZ_BUILD (required) the build folder configured with TELVOR_BUILD_FUZZ;
# FUZZ_TARGETS the targets to run (all built ones by default); FUZZ_WORK a folder in which
# to keep the grown corpora and logs (a temporary one, removed afterwards, by default).
set -euo pipefail
here=$(cd "$(dirname "$0")" && pwd)
seconds=${1:?usage: fuzz/run.sh SECONDS}
build=${FUZZ_BUILD:?set FUZZ_BUILD to the build folder configured with TELVOR_BUILD_FUZZ=ON}

if [ -n "${FUZZ_WORK:-}" ]; then
  work=$FUZZ_WORK
  mkdir -p "$work"
else
  work=$(mktemp -d)
  trap 'rm -rf "$work"' EXIT
fi
artifacts=$here/artifacts
mkdir -p "$artifacts"

targets=${FUZZ_TARGETS:-}
if [ -z "$targets" ]; then
  for f in "$build"/fuzz/*_fuzzer; do [ -x "$f" ] && targets+=" $(basename "$f" _fuzzer)"; done
fi

failed=()
for target in $targets; do
  binary=$build/fuzz/${target}_fuzzer
  corpus=$work/$target
  mkdir -p "$corpus"
  # Targets reading the same kind of input share one corpus and dictionary.
  seeds=$target
  [ "$target" = json_agreement ] && seeds=json_records
  [ -d "$here/corpus/$seeds" ] && cp -r "$here/corpus/$seeds/." "$corpus/"
  args=(-max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -max_len=8192 -print_final_stats=1
        -artifact_prefix="$artifacts/$target-")
  [ -f "$here/dict/$seeds.dict" ] && args+=(-dict="$here/dict/$seeds.dict")
  printf '== %s: %s s, %s seed inputs\n' "$target" "$seconds" "$(find "$corpus" -type f | wc -l)"
  if "$binary" "${args[@]}" "$corpus" >"$work/$target.log" 2>&1; then
    grep -E '^stat::(number_of_executed_units|peak_rss_mb)|^#[0-9]+[[:space:]]+DONE' "$work/$target.log" | sed 's/^/   /'
    printf '   corpus now %s inputs\n' "$(find "$corpus" -type f | wc -l)"
  else
    failed+=("$target")
    echo "   FAILED; the end of its log:"
    tail -n 60 "$work/$target.log" | sed 's/^/   /'
  fi
done

if [ ${#failed[@]} -ne 0 ]; then
  echo "fuzzing found problems in: ${failed[*]} (inputs in fuzz/artifacts/)" >&2
  exit 1
fi
echo "fuzzing: no findings"
