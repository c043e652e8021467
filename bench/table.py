#!/usr/bin/python3
"""Sets the figures of one run beside their limits, as a table in Markdown.

    table.py FOLDER [PART...]
    table.py --growth FOLDER

The folder holds what the parts of script/bench left there, PART.json; without parts, all are wanted. A part that is
missing or could not measure something leaves a row that says so. Exit status 1: there is such a row.
"""

import collections
import json
import sys
from pathlib import Path

# What was measured, its value (None: it was not, and `unit` says why), and what it must not be above.
Row = collections.namedtuple("Row", "what value limit unit")
HEAD = "| what | measured | limit | of the limit |\n|---|---|---|---|"


def line(row):
    if row.value is None:
        cells = [row.what, f"**not measured: {row.unit}**", f"{row.limit:g}", ""]
    else:
        share = row.value / row.limit
        # What is over only when all digits are looked at is over too.
        cells = [row.what, f"{row.value:.2f} {row.unit}".strip(), f"{row.limit:g} {row.unit}".strip(),
                 f"**{share:.2f}, over**" if share > 1 else f"{share:.2f}"]
    return "| " + " | ".join(cells) + " |"


class Benchmarks:
    """The medians of Google Benchmark's repetitions."""

    def __init__(self, run):
        self.faults = {b["run_name"]: b.get("error_message", "it failed")
                       for b in run["benchmarks"] if b.get("error_occurred")}
        self.medians = {b["run_name"]: b for b in run["benchmarks"] if b.get("aggregate_name") == "median"}

    def row(self, what, limit, unit, names, value, time="real_time"):
        """`value` is given the times of these benchmarks."""
        for name in names:
            if name in self.faults or name not in self.medians:
                return Row(what, None, limit, self.faults.get(name, f"there is no {name}"))
        times = [self.medians[name][time] for name in names]
        return Row(what + self.told(names, times), value(*times), limit, unit)

    def told(self, names, times):
        if len(names) < 2:
            return ""
        return " ({} {})".format(" and ".join(f"{time:.2f}" for time in times), self.medians[names[0]]["time_unit"])


def benchmark_rows(run):
    benchmarks = Benchmarks(run)
    for count in (120, 520, 2000):
        yield benchmarks.row(f"a sample at {count} processes, against the bare loop", 1.2, "x",
                             [f"sample/{count}", f"bareLoop/{count}"], lambda mine, bare: mine / bare)
    yield benchmarks.row("a sample without the processes", 0.1, "ms", ["sampleWithoutProcesses"], lambda us: us / 1000)
    # The disk's time is not the program's. The second figure is what no way of saving or loading can avoid.
    yield benchmarks.row("processor time of saving a full history; of that, writing its bytes", 4, "ms",
                         ["saveHistory", "writeHistory"], lambda save, write: save, "cpu_time")
    yield benchmarks.row("processor time of loading a full history; of that, reading its bytes", 3, "ms",
                         ["loadHistory", "readHistory"], lambda load, read: load, "cpu_time")
    for name, what in (("saveHistory", "saving"), ("loadHistory", "loading")):
        yield benchmarks.row(f"memory at the peak of {what} a full history, beyond the points", 4, "MiB", [name],
                             lambda peak: peak, "peak")
    yield benchmarks.row("a simulated day without its trace", 0.1, "s", ["simulatedDay"], lambda day: day, "cpu_time")


def program_rows(programs):
    korvel = programs["korvel"]
    for other, limit in (("top", 0.35), ("conky", 0.3)):
        mine, theirs = korvel["cpu_ms_per_refresh"], programs[other]["cpu_ms_per_refresh"]
        yield Row(f"processor time of a refresh, against {other} ({mine:.2f} and {theirs:.2f} ms)",
                  mine / theirs, limit, "x")
    yield Row("resident while closed", korvel["resident_mib"], 30, "MiB")
    yield Row("private dirty while closed", korvel["private_dirty_mib"], 4.5, "MiB")
    yield Row("wake-ups a minute while closed", korvel["wake_ups_per_minute"], 15, "")
    yield Row("wake-ups a minute while closed and the score changes each time",
              programs["changing_wake_ups_per_minute"], 60, "")
    change = programs["changed_score_ms"]
    yield Row("processor time of a changed score, against a bare tray icon that is redrawn "
              f"({change['item']:.2f} and {change['bare']:.2f} ms; Qt's icon with this picture {change['icon']:.2f})",
              change["item"] / change["bare"], 2.5, "x")
    once = programs["after_1_openings"]["private_dirty_mib"]
    yield Row("private dirty more after the popover was open once", once - korvel["private_dirty_mib"], 2, "MiB")
    yield Row("private dirty more after ten openings than after one",
              programs["after_10_openings"]["private_dirty_mib"] - once, 2, "MiB")
    paint = programs["first_paint_ms"]
    yield Row("click to the first painted frame, the first time", paint["first"], 60, "ms")
    yield Row("click to the first painted frame, soon after a closing", paint["again"], 10, "ms")
    yield Row("click to the first painted frame, after the views were let go", paint["later"], 20, "ms")
    yield Row("launch to the first title in the tray "
              f"(asking for it takes {programs['question_ms']:.0f} ms of that)", programs["launch_ms"], 60, "ms")
    yield Row("a simulated day with its trace", programs["sim_day_s"], 1, "s")


def refresh_rows(found):
    """A refresh in the tray beside the same reads and a bare icon, at each number of processes."""
    for size in found.values():
        mine, limit, top = size["korvel"], size["limit"], size["top"]["still"]
        where = f"at {size['processes']} processes"
        yield Row(f"a refresh whose score changed, {where}, against the bare loop and a bare icon that is redrawn "
                  f"({mine['changed']:.2f} and {limit['changed']:.2f} ms)",
                  mine["changed"] / limit["changed"], 1.3, "x")
        yield Row(f"the same against top ({top:.2f} ms)", mine["changed"] / top, 1, "x")
        yield Row(f"a refresh whose score stood still, {where}, against the bare loop "
                  f"({mine['still']:.2f} and {limit['still']:.2f} ms)", mine["still"] / limit["still"], 1.2, "x")


def popover_rows(found):
    yield Row("a refresh whose score changed while the popover is open", found["changed"], 5, "ms")
    yield Row("wake-ups of that refresh", found["changed_wake_ups"], 100, "")
    yield Row("wake-ups of one whose score stood still while the popover is open", found["still_wake_ups"], 10, "")


def carried_rows(carried):
    own, system = carried["carried"], carried["system"]
    yield Row("launch with the libraries of a release, against the system's "
              f"({own['launch_ms']:.0f} and {system['launch_ms']:.0f} ms)",
              own["launch_ms"] / system["launch_ms"], 1.3, "x")
    yield Row("private dirty more with the libraries of a release "
              f"({own['private_dirty_mib']:.2f} and {system['private_dirty_mib']:.2f} MiB)",
              own["private_dirty_mib"] - system["private_dirty_mib"], 2, "MiB")


def growth_rows(found):
    """The program beside the bare loop where there are most processes, and beside top where it does worst."""
    faults = [row["fault"] for row in found if "fault" in row]
    many = found[-1]["processes"]
    if faults:
        yield Row(f"processor time of a refresh at {many} processes, against the bare loop", None, 1.3, faults[0])
        return
    last = found[-1]
    yield Row(f"processor time of a refresh at {many} processes, against the bare loop "
              f"({last['korvel']:.2f} and {last['bare']:.2f} ms)", last["korvel"] / last["bare"], 1.3, "x")
    worst = max(found, key=lambda row: row["korvel"] / row["top"])
    yield Row(f"the same against top, at {worst['processes']}, the worst of {len(found)} numbers of processes "
              f"({worst['korvel']:.2f} and {worst['top']:.2f} ms)", worst["korvel"] / worst["top"], 1, "x")


def views_rows(found):
    """Of the way that the program goes."""
    own = next(row for row in found if row["way"] == "types")
    yield Row("private dirty more after the popover's views alone were opened once and let go "
              f"({own['later_ms']:.1f} ms for the next opening)", own["once_mib"], 2, "MiB")
    more = own["fifty_mib"] - own["once_mib"]
    yield Row("private dirty more after fifty such openings than after one", more, 1, "MiB")


# In the order of the table; whoever measures more adds a part here and to script/bench.
PARTS = {"benchmarks": benchmark_rows, "programs": program_rows, "refresh": refresh_rows, "popover": popover_rows,
         "carried": carried_rows, "growth": growth_rows, "views": views_rows}


def rows(folder, parts):
    for part in parts:
        try:
            with open(Path(folder) / f"{part}.json", encoding="utf-8") as file:
                yield from PARTS[part](json.load(file))
        except (OSError, ValueError, KeyError) as fault:
            yield Row(part, None, 0, f"{type(fault).__name__}: {fault}")


def growth_table(folder):
    """The figures of the picture."""
    names = {"korvel": "Korvel", "bare": "the bare loop", "top": "top", "conky": "conky"}
    print("| processes | " + " | ".join(names.values()) + " |\n|---|" + "---|" * len(names))
    with open(Path(folder) / "growth.json", encoding="utf-8") as file:
        for row in json.load(file):
            cells = [f"{row[name]:.2f} ms" if "fault" not in row else f"not measured: {row['fault']}" for name in names]
            print(f"| {row['processes']} | " + " | ".join(cells) + " |")


def main():
    if sys.argv[1] == "--growth":
        growth_table(sys.argv[2])
        return 0
    found = list(rows(sys.argv[1], sys.argv[2:] or PARTS))
    print("\n".join([HEAD, *map(line, found)]))
    return 1 if any(row.value is None for row in found) else 0


if __name__ == "__main__":
    sys.exit(main())
