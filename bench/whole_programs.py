#!/usr/bin/python3
"""Measures whole programs in one run: Korvel in the tray of a private desktop, and other monitors
that refresh as often, each for the same time. Prints JSON.

    whole_programs.py BUILD-FOLDER [SECONDS]
"""

import json
import os
import statistics
import subprocess
import sys
import time

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
sys.path[:0] = [os.path.join(ROOT, "tests", "desktop"), os.path.join(ROOT, "bench")]

from changed_score import changed_score_ms  # noqa: E402
from desktop import Desktop, Failure, wait_for  # noqa: E402
from first_paint import first_paint_ms  # noqa: E402

REFRESH = 5  # seconds, of all that is measured
CONKY = """conky.config = {out_to_x = false, out_to_console = true, update_interval = 5}
conky.text = [[${cpu}% ${mem} ${swap} ${fs_free /} ${loadavg 1} ${uptime_short}
${top_mem name 1} ${top_mem mem_res 1}
${top_mem name 2} ${top_mem mem_res 2}
${top_mem name 3} ${top_mem mem_res 3}
${top_mem name 4} ${top_mem mem_res 4}
${top_mem name 5} ${top_mem mem_res 5}]]
"""


def cpu_seconds(pid):
    """Processor time, to the nanosecond: of all threads of the process."""
    total = 0
    for thread in os.listdir(f"/proc/{pid}/task"):
        with open(f"/proc/{pid}/task/{thread}/schedstat", encoding="ascii") as file:
            total += int(file.read().split()[0])
    return total / 1e9


def wake_ups(pid):
    """How often its threads gave up the processor of themselves: each time to be woken again."""
    total = 0
    for thread in os.listdir(f"/proc/{pid}/task"):
        with open(f"/proc/{pid}/task/{thread}/status", encoding="ascii") as file:
            for line in file:
                if line.startswith("voluntary_ctxt_switches"):
                    total += int(line.split()[1])
    return total


def memory_mib(pid):
    """Resident and private dirty memory."""
    with open(f"/proc/{pid}/smaps_rollup", encoding="ascii") as file:
        sizes = {line.split(":")[0]: int(line.split()[1]) for line in file if line.endswith("kB\n")}
    return sizes["Rss"] / 1024, sizes["Private_Dirty"] / 1024


def refreshes(pids, seconds):
    """What a refresh takes each process: milliseconds of a processor, and wake-ups. The medians, so that the few in
    which this machine's score changed, or a panel asked for something, do not count. All at the same time, so that
    all see the same machine."""
    taken = {pid: [] for pid in pids}
    next_time = time.monotonic()
    before = {pid: (cpu_seconds(pid), wake_ups(pid)) for pid in pids}
    for _ in range(seconds // REFRESH):
        next_time += REFRESH
        time.sleep(next_time - time.monotonic())
        for pid in pids:
            now = cpu_seconds(pid), wake_ups(pid)
            taken[pid].append((now[0] - before[pid][0], now[1] - before[pid][1]))
            before[pid] = now
    return {pid: (statistics.median(cpu for cpu, _ in slices) * 1000, statistics.median(woken for _, woken in slices))
            for pid, slices in taken.items()}


def launch_ms(place, program):
    """From start to the item with its first title on the bus; the median of five."""
    times = []
    for _ in range(5):
        started = time.monotonic()
        process = place.spawn([program])
        while not place.items():
            pass
        times.append((time.monotonic() - started) * 1000)
        place.end(process)
        wait_for("the tray without it", lambda: not place.items())
    # Asking the bus is itself a process that is started: half of what one question takes is added.
    started = time.monotonic()
    place.items()
    question = (time.monotonic() - started) * 1000
    return sorted(times)[2], question


def changing(build, place, seconds):
    """Wake-ups a minute while the score is another one at each refresh: those of the demonstration
    on a machine that gets warm and cools down in turn. It is woken once more for each change of the
    machine, 12 times a minute, which is counted too. A program that has been started before: the first
    start shows the popover, which works as well."""
    scenario = os.path.join(build, "changing.json")
    events = [{"at": 2.5 + 5 * i, "set": {"thermalState": (i + 1) % 2}}
              for i in range(seconds // 5 + 6)]
    with open(scenario, "w", encoding="utf-8") as file:
        json.dump({"until": 5 * len(events), "events": events, "defaults": {"seenBuild": 2**31 - 1}}, file)
    trace = subprocess.run([os.path.join(build, "bin", "korvel-sim"), scenario], check=True,
                           stdout=subprocess.PIPE, text=True).stdout
    lines = [json.loads(line) for line in trace.splitlines()]
    scores = [line["score"] for line in lines if line["what"] == "snapshot" and line["t"] >= 1]
    if len(scores) < seconds / 5 or any(a == b for a, b in zip(scores, scores[1:])):
        raise Failure(f"the score does not change each time: {scores}")
    process = place.spawn([os.path.join(build, "bin", "korvel-demo"), scenario])
    wait_for("the item", place.items)
    time.sleep(6)
    if place.popover():
        raise Failure("the demonstration shows its popover")
    _, woken = refreshes([process.pid], seconds)[process.pid]
    place.end(process)
    wait_for("the tray without it", lambda: not place.items())
    return woken * 60 / REFRESH


def main():
    build = sys.argv[1]
    seconds = int(sys.argv[2]) if len(sys.argv) > 2 else 60
    program = os.path.join(build, "bin", "korvel")
    result = {"changed_score_ms": changed_score_ms(build)}
    with Desktop() as place:
        place.start_panel("xfce4-panel")
        result["launch_ms"], result["question_ms"] = launch_ms(place, program)
        result["first_paint_ms"] = first_paint_ms(place, program)
        result["changing_wake_ups_per_minute"] = changing(build, place, seconds)
        process = place.spawn([program])
        wait_for("the item", place.items)
        config = os.path.join(place.folder, "conky.lua")
        with open(config, "w", encoding="utf-8") as file:
            file.write(CONKY)
        others = {"top": place.spawn(["top", "-b", "-d", "5"]),
                  "conky": place.spawn(["conky", "-c", config])}
        time.sleep(12)
        programs = {"korvel": process} | others
        measured = refreshes([p.pid for p in programs.values()], seconds)
        for name, p in programs.items():
            cpu, woken = measured[p.pid]
            resident, dirty = memory_mib(p.pid)
            result[name] = {"cpu_ms_per_refresh": cpu, "wake_ups_per_minute": woken * 60 / REFRESH,
                            "resident_mib": resident, "private_dirty_mib": dirty}
        for times in (1, 9):
            for _ in range(times):
                place.activate()
                wait_for("the popover", place.popover)
                time.sleep(0.5)
                place.activate()
                wait_for("it closed", lambda: not place.popover())
                time.sleep(0.5)
            time.sleep(12)  # the views' memory goes back a while after they close
            result[f"after_{1 if times == 1 else 10}_openings"] = dict(
                zip(("resident_mib", "private_dirty_mib"), memory_mib(process.pid)))
    scenario = os.path.join(build, "day.json")
    with open(scenario, "w", encoding="utf-8") as file:
        json.dump({"until": 86400}, file)
    started = time.monotonic()
    with open(os.devnull, "w", encoding="ascii") as nothing:
        subprocess.run([os.path.join(build, "bin", "korvel-sim"), scenario], stdout=nothing,
                       check=True)
    result["sim_day_s"] = time.monotonic() - started
    result["processes"] = sum(name.isdigit() for name in os.listdir("/proc"))
    json.dump(result, sys.stdout)


if __name__ == "__main__":
    main()
