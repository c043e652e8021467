"""Processes that sleep, so that there are as many on the machine as asked for."""

import os
import subprocess

from desktop import Failure, wait_for

# Where a group of processes may be made that no limit of the session's own group counts.
GROUPS = ("/sys/fs/cgroup/pids", "/sys/fs/cgroup")


def processes():
    """How many there are on the machine."""
    return sum(name.isdigit() for name in os.listdir("/proc"))


class Crowd:
    """Use as a context manager. Failure: so many cannot be made here."""

    def __init__(self, build, count):
        self.program, self.count = os.path.join(build, "bin", "korvel_crowd"), count
        self.process = self.group = None

    def __enter__(self):
        missing = self.count - processes() - 1
        if missing <= 0:
            return self
        self.make_group()
        into = f'echo $$ >"{self.group}/cgroup.procs" || exit; ' if self.group else ""
        self.process = subprocess.Popen(
            ["sh", "-c", into + 'exec "$0" "$1"', self.program, str(missing)], stdin=subprocess.PIPE,
            stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True)
        if self.process.stdout.readline().strip() != "ready":
            said = self.process.communicate()[1].strip()
            self.__exit__()
            raise Failure(said)
        return self

    def __exit__(self, *_):
        if self.process:
            if not self.process.stdin.closed:
                self.process.stdin.close()
            self.process.wait()
            self.process.stdout.close()
            self.process.stderr.close()
        if self.group:
            wait_for("the crowd's group, empty", self.group_is_gone)

    def make_group(self):
        """A user session's own group often allows no more than 4,915 processes; root can make another."""
        root = next((path for path in GROUPS if os.path.exists(path + "/cgroup.procs")), None)
        path = f"{root}/korvel-crowd-{os.getpid()}"
        try:
            os.mkdir(path)
            self.group = path
        except OSError:
            pass

    def group_is_gone(self):
        try:
            os.rmdir(self.group)
        except OSError:
            return False
        return True
