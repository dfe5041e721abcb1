"""Python's plistlib on the benchmark's property lists: the baseline of telvor-bench.

    python3 plistlib_bench.py REPETITIONS FILE...
    python3 plistlib_bench.py --peak-memory COMMAND...
    python3 plistlib_bench.py --rewrite SOURCE XML_OUT BINARY_OUT

For each FILE (an XML or binary property list) prints three lines, "NAME SECONDS":
load_FILE (plistlib.load), dumps_xml_FILE and dumps_binary_FILE (plistlib.dumps of what
was loaded), each the fastest of REPETITIONS runs in CPU time (time.process_time), as
telvor-bench measures CPU time too.

With --peak-memory it runs COMMAND and prints "peak BYTES", the command's peak resident
memory. It is measured here, in a small process of its own, because a process started
straight from the benchmark inherits the benchmark's peak as its own.

With --rewrite it loads SOURCE and writes it again as plistlib writes property lists, XML
and binary: the files a Python program would hand to telvor-nodes.
"""
import os
import plistlib
import resource
import subprocess
import sys
import time


def fastest(repetitions, work):
    best = None
    for _ in range(repetitions):
        start = time.process_time()
        work()
        spent = time.process_time() - start
        best = spent if best is None else min(best, spent)
    return best


def main():
    if sys.argv[1] == "--peak-memory":
        subprocess.run(sys.argv[2:], check=True, stdout=subprocess.DEVNULL)
        print(f"peak {resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss * 1024}")
        return
    if sys.argv[1] == "--rewrite":
        with open(sys.argv[2], "rb") as f:
            value = plistlib.load(f)
        for path, fmt in ((sys.argv[3], plistlib.FMT_XML), (sys.argv[4], plistlib.FMT_BINARY)):
            with open(path, "wb") as f:
                plistlib.dump(value, f, fmt=fmt)
        return
    repetitions = int(sys.argv[1])
    for path in sys.argv[2:]:
        name = os.path.basename(path)

        def load():
            with open(path, "rb") as f:
                return plistlib.load(f)

        print(f"load_{name} {fastest(repetitions, load):.6f}")
        value = load()
        for form, fmt in (("xml", plistlib.FMT_XML), ("binary", plistlib.FMT_BINARY)):
            seconds = fastest(repetitions, lambda: plistlib.dumps(value, fmt=fmt))
            print(f"dumps_{form}_{name} {seconds:.6f}")


if __name__ == "__main__":
    main()
