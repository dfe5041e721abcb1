#!/usr/bin/env python3
"""Checks that an edited catalogue differs from the original only as expected.

usage: compare_catalogues.py BEFORE AFTER EXPECT
EXPECT is JSON: {"index": I, "set": {KEY: VALUE}, "removed": [KEY]} for an edit of node I
(0-based; a dotted KEY reaches into a nested object), {"appended": N} or {"removedIndex": I}.
Every other entry of every node must be identical. Prints what differs; exit status 1 then.
"""
import copy
import json
import plistlib
import sys


def load(path):
    with open(path, "rb") as f:
        data = f.read()
    if data.lstrip().startswith(b"[") or data.lstrip().startswith(b"{"):
        value = json.loads(data)
    else:
        value = plistlib.loads(data)
    return value if isinstance(value, list) else [value]


def apply(node, expect):
    for key, value in expect.get("set", {}).items():
        *path, last = key.split(".")
        target = node
        for part in path:
            target = target.setdefault(part, {})
        target[last] = value
    for key in expect.get("removed", []):
        *path, last = key.split(".")
        target = node
        for part in path:
            target = target[part]
        if last not in target:
            sys.exit(f"expected {key} to be present before its removal")
        del target[last]


def main():
    before, after = load(sys.argv[1]), load(sys.argv[2])
    expect = json.loads(sys.argv[3])
    wanted = copy.deepcopy(before)
    if "index" in expect:
        apply(wanted[expect["index"]], expect)
    if "removedIndex" in expect:
        del wanted[expect["removedIndex"]]
    appended = expect.get("appended", 0)
    if len(after) != len(wanted) + appended:
        sys.exit(f"{len(after)} nodes, expected {len(wanted) + appended}")
    problems = []
    for i, (want, got) in enumerate(zip(wanted, after)):
        for key in sorted(set(want) | set(got)):
            if want.get(key, "<absent>") != got.get(key, "<absent>"):
                problems.append(f"node {i} key {key}: expected {want.get(key, '<absent>')!r}, "
                                f"found {got.get(key, '<absent>')!r}")
    if problems:
        sys.exit("\n".join(problems))
    print("ok")


main()
