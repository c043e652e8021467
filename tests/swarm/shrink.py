"""Cuts a failing list of events down to a small one that breaks the same rule (delta debugging)."""

import subprocess
import tempfile
from pathlib import Path

LONGEST = 60  # seconds for one replay


def replayed(program, events):
    """What a list of events breaks: the sentence, without its details; empty: nothing."""
    with tempfile.NamedTemporaryFile("w", suffix=".events", encoding="utf-8") as file:
        file.write("".join(event + "\n" for event in events))
        file.flush()
        try:
            done = subprocess.run([program, "--replay", file.name], stdout=subprocess.PIPE, text=True, check=False,
                                  timeout=LONGEST)
        except subprocess.TimeoutExpired:
            return "The program comes back to its run loop."
    # A text that has the details of this very run ends in brackets, or in the time.
    return done.stdout.split(" At ")[0].split(" (")[0].strip() if done.returncode == 1 else ""


def shrunk(events, fails):
    """The least list that was found for which `fails` still holds: it holds for `events`. Pieces of the list are left
    out, at first halves of it, in the end single events."""
    pieces = 2
    while len(events) >= 2:
        size = max(1, len(events) // pieces)
        for at in range(0, len(events), size):
            rest = events[:at] + events[at + size:]
            if rest and fails(rest):
                events, pieces = rest, max(pieces - 1, 2)
                break
        else:
            if size == 1:
                break
            pieces = min(len(events), 2 * pieces)
    return events


def until_broken(events, at):
    """The events up to that second, which is a little after the broken rule was noticed."""
    return [event for event in events if float(event.split()[0]) <= at] or events


def cut_down(program, seed):
    """The sentence that a seed breaks, and a small list of events that breaks it too."""
    listed = subprocess.run([program, "--list", str(seed)], stdout=subprocess.PIPE, text=True, check=True)
    events = listed.stdout.splitlines()
    sentence = replayed(program, events)
    if not sentence:
        return "", events
    return sentence, shrunk(events, lambda some: replayed(program, some) == sentence)


def scenario(program, events):
    """The same as a scenario of korvel-sim; empty where it cannot be one."""
    with tempfile.TemporaryDirectory() as folder:
        path = Path(folder) / "events"
        path.write_text("".join(event + "\n" for event in events), encoding="utf-8")
        done = subprocess.run([program, "--scenario", str(path)], stdout=subprocess.PIPE, text=True, check=False)
    return done.stdout if done.returncode == 0 else ""
