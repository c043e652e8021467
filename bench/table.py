#!/usr/bin/python3
"""Sets the figures of one run beside their limits, as a table in Markdown.

    table.py BENCHMARKS.json PROGRAMS.json CARRIED.json
"""

import json
import sys


def main():
    with open(sys.argv[1], encoding="utf-8") as file:
        benchmarks = {b["name"]: b for b in json.load(file)["benchmarks"]}
    with open(sys.argv[2], encoding="utf-8") as file:
        programs = json.load(file)
    with open(sys.argv[3], encoding="utf-8") as file:
        carried = json.load(file)
    rows = []

    def row(what, value, limit, unit):
        rows.append((what, f"{value:.2f} {unit}".strip(), f"{limit:g} {unit}".strip(),
                     f"{value / limit:.2f}"))

    for count in (100, 500, 2000):
        mine, bare = (benchmarks[f"{name}/{count}"] for name in ("sample", "bareLoop"))
        row(f"a sample at {mine['processes']:.0f} processes, against the bare loop "
            f"({mine['real_time']:.0f} and {bare['real_time']:.0f} us)",
            mine["real_time"] / bare["real_time"], 1.5, "x")
    row("a sample without the processes",
        benchmarks["sampleWithoutProcesses"]["real_time"] / 1000, 0.3, "ms")
    row("a full history saved", benchmarks["saveHistory"]["real_time"], 15, "ms")
    row("a full history loaded", benchmarks["loadHistory"]["real_time"], 8, "ms")
    korvel = programs["korvel"]
    for other, limit in (("top", 0.35), ("conky", 0.3)):
        row(f"processor time of a refresh, against {other} "
            f"({korvel['cpu_ms_per_refresh']:.2f} and "
            f"{programs[other]['cpu_ms_per_refresh']:.2f} ms)",
            korvel["cpu_ms_per_refresh"] / programs[other]["cpu_ms_per_refresh"], limit, "x")
    row("resident while closed", korvel["resident_mib"], 35, "MiB")
    row("private dirty while closed", korvel["private_dirty_mib"], 6, "MiB")
    row("wake-ups a minute while closed", korvel["wake_ups_per_minute"], 20, "")
    row("wake-ups a minute while closed and the score changes each time",
        programs["changing_wake_ups_per_minute"], 80, "")
    change = programs["changed_score_ms"]
    row("processor time of a changed score, against a bare tray icon that is redrawn "
        f"({change['item']:.2f} and {change['bare']:.2f} ms; Qt's icon with this picture {change['icon']:.2f})",
        change["item"] / change["bare"], 2.5, "x")
    row("private dirty more after the popover was open once",
        programs["after_1_openings"]["private_dirty_mib"] - korvel["private_dirty_mib"], 2, "MiB")
    row("private dirty more after ten openings than after one",
        programs["after_10_openings"]["private_dirty_mib"] -
        programs["after_1_openings"]["private_dirty_mib"], 2, "MiB")
    paint = programs["first_paint_ms"]
    row("click to the first painted frame, the first time", paint["first"], 60, "ms")
    row("click to the first painted frame, soon after a closing", paint["again"], 20, "ms")
    row("click to the first painted frame, after the views were let go", paint["later"], 20, "ms")
    row("launch to the first title in the tray "
        f"(asking for it takes {programs['question_ms']:.0f} ms of that)",
        programs["launch_ms"], 150, "ms")
    own, system = carried["carried"], carried["system"]
    row("launch with the libraries of a release, against the system's "
        f"({own['launch_ms']:.0f} and {system['launch_ms']:.0f} ms)",
        own["launch_ms"] / system["launch_ms"], 1.3, "x")
    row("private dirty more with the libraries of a release "
        f"({own['private_dirty_mib']:.2f} and {system['private_dirty_mib']:.2f} MiB)",
        own["private_dirty_mib"] - system["private_dirty_mib"], 2, "MiB")
    row("a simulated day", programs["sim_day_s"], 2, "s")

    print("| what | measured | limit | of the limit |")
    print("|---|---|---|---|")
    for cells in rows:
        print("| " + " | ".join(cells) + " |")


if __name__ == "__main__":
    main()
