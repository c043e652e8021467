"""What a changed score costs: the processor time of the process that shows it, for the program's own
item, for Qt's icon with the same picture, and for a bare icon that is redrawn, in turn."""

import os
import subprocess

from desktop import Desktop, Failure, wait_for

KINDS = ("item", "icon", "bare")


def changed_score_ms(build, rounds=5):
    """Milliseconds of a change, by the kind of icon; the median of the rounds."""
    times = {kind: [] for kind in KINDS}
    with Desktop() as place:
        place.start_panel("xfce4-panel")
        for _ in range(rounds):
            for kind in KINDS:
                process = place.spawn([os.path.join(build, "bin", "korvel_tray_bench"), kind],
                                      stdout=subprocess.PIPE, text=True)
                wait_for("the item", place.items)
                try:
                    times[kind].append(float(process.communicate(timeout=60)[0]))
                except ValueError:
                    raise Failure(f"no figure of {kind}") from None
                wait_for("the tray without it", lambda: not place.items())
    return {kind: sorted(found)[rounds // 2] for kind, found in times.items()}
