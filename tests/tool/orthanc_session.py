#!/usr/bin/env python3
"""One session with a real Orthanc, run inside a private network namespace.

Started by the peer tests as `unshare -rn sh -c 'ip link set lo up; exec python3 THIS ...'`,
so that Orthanc (which listens on every address) sees only loopback. Starts storescp and
Orthanc, waits for them (bounded), makes the REST calls the test asks for, runs
`telvor-nodes echo` against Orthanc, stops both, and writes what it saw as JSON.
"""
import argparse
import json
import os
import subprocess
import sys
import time
import urllib.error
import urllib.request

sys.dont_write_bytecode = True  # no __pycache__ beside the sources
from namespace_processes import listening, stop  # noqa: E402


def call(base, method, path, body=None):
    data = None if body is None else json.dumps(body).encode()
    request = urllib.request.Request(base + path, data=data, method=method)
    try:
        with urllib.request.urlopen(request, timeout=30) as answer:
            return answer.status, answer.read().decode()
    except urllib.error.HTTPError as e:
        return e.code, e.read().decode(errors="replace")


def main():
    p = argparse.ArgumentParser()
    p.add_argument("--orthanc", required=True)
    p.add_argument("--config", required=True)
    p.add_argument("--http", type=int, required=True)
    p.add_argument("--log", required=True)
    p.add_argument("--out", required=True)
    p.add_argument("--storescp")
    p.add_argument("--storescp-port", type=int)
    p.add_argument("--put", help="JSON object: modality name -> body for PUT /modalities/NAME")
    p.add_argument("--echo", help="modality name for POST /modalities/NAME/echo")
    p.add_argument("--tool")
    p.add_argument("--catalogue", help="catalogue for `telvor-nodes echo`")
    a = p.parse_args()

    results = {}
    log = open(a.log, "w")
    storescp = orthanc = None
    try:
        if a.storescp:
            storescp = subprocess.Popen([a.storescp, "--aetitle", "STORESCP", str(a.storescp_port)],
                                        stdout=log, stderr=subprocess.STDOUT)
        orthanc = subprocess.Popen([a.orthanc, a.config], stdout=log, stderr=subprocess.STDOUT)
        base = "http://127.0.0.1:%d" % a.http
        deadline = time.monotonic() + 90
        ready = False
        while time.monotonic() < deadline and orthanc.poll() is None:
            try:
                if call(base, "GET", "/system")[0] == 200:
                    ready = True
                    break
            except OSError:
                pass
            time.sleep(0.2)
        results["ready"] = ready
        if not ready:
            results["orthancExit"] = orthanc.poll()
            return
        if storescp:
            deadline = time.monotonic() + 20
            while time.monotonic() < deadline and not listening(a.storescp_port) and storescp.poll() is None:
                time.sleep(0.05)
            results["storescpListening"] = listening(a.storescp_port)

        results["expand"] = call(base, "GET", "/modalities?expand")
        if a.put:
            with open(a.put) as f:
                bodies = json.load(f)
            results["put"] = {name: call(base, "PUT", "/modalities/" + name, body)[0] for name, body in bodies.items()}
            results["expandAfterPut"] = call(base, "GET", "/modalities?expand")
        if a.echo:
            results["echo"] = call(base, "POST", "/modalities/%s/echo" % a.echo, {})
        if a.tool and a.catalogue:
            run = subprocess.run([a.tool, "echo", a.catalogue, "--timeout", "10"], capture_output=True, text=True,
                                 timeout=60)
            results["toolEcho"] = [run.returncode, run.stdout, run.stderr]
    finally:
        stop(orthanc)
        stop(storescp)
        log.close()
        with open(a.out, "w") as f:
            json.dump(results, f)


if __name__ == "__main__":
    sys.exit(main())
