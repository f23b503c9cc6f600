"""Starts programs for judge.py and waits for them. A process of its own, because a child's peak memory counts from
what its parent has when it is forked: this one stays small. Reads a line of JSON for each program, writes one."""
import json
import os
import resource
import signal
import sys
import time


def become(order):
    """In the child: limits, folder and console, then the program."""
    try:
        os.setsid()
        resource.setrlimit(resource.RLIMIT_CORE, (0, 0))
        resource.setrlimit(resource.RLIMIT_FSIZE, (order["file_bytes"],) * 2)
        if order["address_bytes"]:
            resource.setrlimit(resource.RLIMIT_AS, (order["address_bytes"],) * 2)
        signal.signal(signal.SIGPIPE, signal.SIG_DFL)
        signal.signal(signal.SIGXFSZ, signal.SIG_DFL)
        os.chdir(os.fsencode(order["cwd"]))
        console = os.open(os.fsencode(order["console"]), os.O_WRONLY | os.O_CREAT | os.O_TRUNC, 0o666)
        os.dup2(os.open("/dev/null", os.O_RDONLY), 0)
        os.dup2(console, 1)
        os.dup2(console, 2)
        os.closerange(3, 64)
        words = [os.fsencode(word) for word in order["argv"]]
        os.execve(words[0] if b"/" in words[0] else b"/usr/bin/" + words[0], words, order["env"])
    except OSError as error:
        os.write(2, f"cannot start: {error}\n".encode())
    finally:
        os._exit(126)


def kill(session):
    """Kills all that a program has started: those of its session, some of which have groups of their own."""
    for name in os.listdir("/proc"):
        try:
            with open(f"/proc/{name}/stat", encoding="latin-1") as stat:
                if int(stat.read().rpartition(")")[2].split()[3]) == session:
                    os.kill(int(name), signal.SIGKILL)
        except (OSError, ValueError, IndexError):
            pass


def launch(order):
    start = time.monotonic()
    child = os.fork()
    if child == 0:
        become(order)
    is_late, pause = False, 0.0005
    while True:
        pid, status, used = os.wait4(child, os.WNOHANG)
        if pid:
            break
        if time.monotonic() - start > order["wall"]:
            is_late = True
            kill(child)
            _, status, used = os.wait4(child, 0)
            break
        time.sleep(pause)
        pause = min(pause * 1.5, 0.02)
    kill(child)
    return {"status": os.waitstatus_to_exitcode(status), "seconds": time.monotonic() - start, "is_late": is_late,
            "cpu_seconds": used.ru_utime + used.ru_stime, "peak_mb": used.ru_maxrss / 1024}


for line in sys.stdin:
    print(json.dumps(launch(json.loads(line))), flush=True)
