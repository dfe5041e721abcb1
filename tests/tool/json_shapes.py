#!/usr/bin/env python3
"""Checks a --json output of telvor-nodes against the shape docs/CLI.md documents.

usage: json_shapes.py list|show|check|echo < OUTPUT
"""
import json
import sys

NODE_KEYS = {"uniqueId", "aetitle", "name", "address", "port", "transferSyntax", "retrieveMode",
             "isDicomNode", "isQueryable", "wadoSettings", "icon", "tlsSettings"}
STATUS_KEYS = {"accessable", "inaccessible", "unknown"}


def fail(message):
    sys.exit(f"{sys.argv[1]}: {message}")


def node_entry(entry):
    if set(entry) != {"index", "node", "wadoPassword"}:
        fail(f"entry keys {sorted(entry)}")
    if not isinstance(entry["index"], int) or entry["index"] < 1:
        fail("index is not a positive integer")
    if entry["wadoPassword"] not in ("set", "empty", "absent"):
        fail(f"wadoPassword {entry['wadoPassword']!r}")
    node = entry["node"]
    if not set(node) <= NODE_KEYS or not {"transferSyntax", "retrieveMode", "isDicomNode", "wadoSettings"} <= set(node):
        fail(f"node keys {sorted(node)}")
    if "password" in node["wadoSettings"]:
        fail("the password is printed")


def main():
    document = json.load(sys.stdin)
    kind = sys.argv[1]
    if kind == "show":
        node_entry(document)
    elif kind == "list":
        if set(document) != {"nodes"}:
            fail(f"keys {sorted(document)}")
        for entry in document["nodes"]:
            node_entry(entry)
    elif kind == "check":
        if set(document) != {"ok", "nodes"} or not isinstance(document["ok"], bool):
            fail(f"keys {sorted(document)}")
        for entry in document["nodes"]:
            if set(entry) != {"index", "name", "problems"}:
                fail(f"entry keys {sorted(entry)}")
            for problem in entry["problems"]:
                if set(problem) != {"code", "message"}:
                    fail(f"problem keys {sorted(problem)}")
        if document["ok"] != all(not e["problems"] for e in document["nodes"]):
            fail("ok disagrees with the problems")
    elif kind == "echo":
        if set(document) != {"allOnline", "nodes"}:
            fail(f"keys {sorted(document)}")
        for entry in document["nodes"]:
            if not {"index", "name", "status", "title"} <= set(entry):
                fail(f"entry keys {sorted(entry)}")
            if len(entry["status"]) != 1 or not set(entry["status"]) <= STATUS_KEYS:
                fail(f"status {entry['status']!r}")
    else:
        fail("unknown kind")
    print("ok")


main()
