#!/usr/bin/env python3
"""`telvor-nodes echo` against real web and DICOM peers, run inside a private network namespace.

Started by the echo tests as `unshare -rn sh -c 'ip link set lo up; exec python3 THIS PLAN'`,
so that Orthanc (which listens on every address) sees only loopback. The plan (JSON) names
the programs to start (Orthanc instances, nginx as TLS terminator), the instance to upload
and the tool runs before and after the upload. Every wait is bounded; every process is
stopped by its PID; what was seen is written as JSON to the plan's "out".
"""
import base64
import json
import subprocess
import sys
import time
import urllib.error
import urllib.request

sys.dont_write_bytecode = True  # no __pycache__ beside the sources
from namespace_processes import listening, stop  # noqa: E402


def upload(target, path):
    with open(path, "rb") as f:
        request = urllib.request.Request(target["url"], data=f.read(), method="POST")
    request.add_header("Content-Type", "application/dicom")
    if target.get("user"):
        token = base64.b64encode((target["user"] + ":" + target["password"]).encode()).decode()
        request.add_header("Authorization", "Basic " + token)
    try:
        with urllib.request.urlopen(request, timeout=30) as answer:
            return answer.status
    except urllib.error.HTTPError as e:
        return e.code


def run_tool(tool, args):
    run = subprocess.run([tool] + args, capture_output=True, text=True, timeout=120)
    return {"status": run.returncode, "out": run.stdout, "err": run.stderr}


def main():
    with open(sys.argv[1]) as f:
        plan = json.load(f)
    results = {"ready": False, "runs": {}}
    processes = []
    try:
        for server in plan["servers"]:
            log = open(server["log"], "w")
            processes.append(subprocess.Popen(server["argv"], stdout=log, stderr=subprocess.STDOUT))
        deadline = time.monotonic() + 90
        waiting = [s["port"] for s in plan["servers"]]
        while waiting and time.monotonic() < deadline and all(p.poll() is None for p in processes):
            waiting = [port for port in waiting if not listening(port)]
            time.sleep(0.1)
        results["ready"] = not waiting
        if waiting:
            results["exits"] = [p.poll() for p in processes]
            return
        for name, args in plan["before"].items():
            results["runs"][name] = run_tool(plan["tool"], args)
        results["uploads"] = [upload(target, plan["instance"]) for target in plan["uploads"]]
        for name, args in plan["after"].items():
            results["runs"][name] = run_tool(plan["tool"], args)
    finally:
        for process in processes:
            stop(process)
        with open(plan["out"], "w") as f:
            json.dump(results, f)


if __name__ == "__main__":
    sys.exit(main())
