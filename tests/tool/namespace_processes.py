"""What the sessions run inside a private network namespace share: telling when a server
listens, and stopping a process by its PID with a bounded wait.

    from namespace_processes import listening, stop
    server = subprocess.Popen([...])
    ...
    stop(server)
"""
import signal
import subprocess


def listening(port):
    """True when something listens on TCP `port` (IPv4 or IPv6) in this namespace."""
    suffix = ":%04X" % port
    for table in ("/proc/net/tcp", "/proc/net/tcp6"):
        try:
            with open(table) as f:
                next(f)
                for line in f:
                    fields = line.split()
                    if fields[3] == "0A" and fields[1].endswith(suffix):
                        return True
        except OSError:
            pass
    return False


def stop(process):
    """SIGTERM, then SIGKILL after 15 s; nothing for a process never started or already gone."""
    if process is None or process.poll() is not None:
        return
    process.send_signal(signal.SIGTERM)
    try:
        process.wait(timeout=15)
    except subprocess.TimeoutExpired:
        process.kill()
        process.wait(timeout=5)
