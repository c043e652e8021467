"""The system calls of an installation: which there are, found by tracing one, and a fault at one of
them. All of the program's own are numbered from its start, each name apart, which is how strace is
told where to interfere.
"""

import os
import re
import shutil

from trial import DIGEST, DOWNLOAD, READ, REPLACE, SIGNATURE, UNPACK, PARENT, Failure, Skip, check

CALL = re.compile(r"^(\w+)\((.*)$")
# The calls ahead of and behind a task, by the option that the program is given.
MARKS = {
    "--install": ("korvel-install-begins", "korvel-install-ended"),
    "--start": ("korvel-start-begins", "korvel-start-ended"),
}

# What changes something on a file system, or says that it is to be on the disk.
CHANGING = {
    "write", "pwrite64", "mkdir", "mkdirat", "rename", "renameat", "renameat2", "link", "linkat", "symlink",
    "symlinkat", "unlink", "unlinkat", "rmdir", "ftruncate", "fallocate", "fchmod", "fchmodat", "chmod", "fchown",
    "utimensat", "fsync", "fdatasync", "syncfs", "flock", "sendfile", "copy_file_range",
}
# How often these are made while a child is listened to depends on how fast it speaks.
LISTENING = {"read", "poll", "ppoll", "wait4", "waitid"}
CHILDREN = {"fork", "vfork", "clone", "clone3"}
DATA = {"read", "pread64", "write", "pwrite64"}


class Call:
    def __init__(self, name, number, text):
        self.name, self.number, self.text = name, number, text
        self.phase = None  # what a failure of it may say

    def changes(self):
        if self.name in ("open", "openat"):
            return "O_CREAT" in self.text or "O_TMPFILE" in self.text
        return self.name in CHANGING and not self.text.startswith("1, ")  # what is said is no change

    def __str__(self):
        path = arguments(self.name, self.text)[-1]
        return f"{self.name}#{self.number} {os.path.basename(path)[:40]}"


def plain(text, folder):
    """The arguments of a call without what differs from run to run."""
    text = text.split(") = ")[0].split(" <unfinished")[0].split(")  ")[0].rstrip(") ")
    text = text.replace(folder, "").replace(os.path.basename(folder), "")
    text = re.sub(r"0x[0-9a-f]+", "0x", text)
    text = re.sub(r"(defaults\.json|korvel-)\.?\w{6}\b(?!-)", r"\1", text)
    return re.sub(r"\d{10}\.\d+", "", text)


def arguments(name, text):
    """The descriptor in the first argument, and the paths. The rest differs from run to run, is not told
    of a call that did not come back, or is an address in its place.
    """
    descriptor = re.match(r"\d{1,3}\b|", text).group()
    return [descriptor, *([] if name in DATA else re.findall(r'"([^"]*)"', text))]


def strace(trial, options, words=None):
    """Runs an installation, or these words, under strace, to its end; gives the lines of the trace and
    the exit.
    """
    if shutil.which("strace") is None:
        raise Skip("strace is not there")
    trace = os.path.join(trial.folder, "trace")
    # At the same addresses each time, so that the same calls are made.
    tracer = ["setarch", "-R", "strace", "-o", trace, "-s", "300", *options]
    if trial.preload:
        tracer += ["-E", "LD_PRELOAD=" + trial.preload]
    done = trial.run([*tracer, *(words or trial.install_words())])
    with open(trace, encoding="utf-8", errors="replace") as file:
        lines = file.read().splitlines()
    return lines, done


def calls_of(lines, folder, task):
    """The calls of the task itself, in order, but for those whose number is not the same each time."""
    (begin, end), counts, found, inside = MARKS[task], {}, [], False
    varying = set()
    for line in lines:
        matched = CALL.match(line)
        if not matched:
            continue
        name, text = matched.groups()
        counts[name] = counts.get(name, 0) + 1
        if begin in line:
            inside = True
        elif inside and name not in varying:
            found.append(Call(name, counts[name], plain(text, folder)))
        if inside and name in CHILDREN:
            varying = LISTENING
        if end in line:
            return found
    raise Failure("the trace does not hold the whole of " + task)


def phases(calls):
    """Tells each call the sentences that a fault at it may lead to."""
    current, listed = (DOWNLOAD, READ), False
    for call in calls:
        if '"installing' in call.text:
            current = (READ, DIGEST)
        elif "/out" in call.text and call.name.startswith("mkdir"):
            current = (UNPACK,)
        elif current == (UNPACK,) and call.name == "openat" and '/out"' in call.text:
            listed = True
        elif listed and current == (UNPACK,) and '/out/Korvel.app"' in call.text:
            current = (SIGNATURE,)
        elif current == (SIGNATURE,) and call.name == "access" and "W_OK|X_OK" in call.text:
            current = (PARENT, REPLACE)
        call.phase = current
    return calls


def sentences_from(calls, call):
    """What may be said where this call fails and each later one of its name."""
    later = [one.phase for one in calls[calls.index(call):] if one.name == call.name]
    return tuple(dict.fromkeys(sentence for phase in later for sentence in phase))


class Plan:
    """The calls of an undisturbed installation, or of what is done at a start by these words."""

    def __init__(self, trial, words=None):
        lines, done = strace(trial, [], words)
        if done.returncode != 0:
            if "ptrace" in done.stderr or "PTRACE" in done.stderr:
                raise Skip("nothing can be traced here: " + done.stderr.splitlines()[0])
            raise Failure(f"undisturbed: {done.returncode} {done.stdout}{done.stderr}")
        self.calls = phases(calls_of(lines, trial.folder, "--start" if words else "--install"))
        trial.remove()


def check_reached(trial, lines, call, injected=""):
    """Sees that the fault was where it was meant to be."""
    count = 0
    for line in lines:
        matched = CALL.match(line)
        if matched and matched.group(1) == call.name:
            count += 1
            if count == call.number:
                reached, planned = (arguments(call.name, text) for text in
                                    (plain(matched.group(2), trial.folder), call.text))
                check(reached == planned[:len(reached)] and injected in line,
                      f"interfered at {reached}, not at {planned}")
                return
    raise Failure(f"{call} was not reached")
