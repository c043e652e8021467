"""Wall clocks that are set while the program runs, that stand still, or that run wild."""

from trial import check, fault

CLOCK = 'export LD_PRELOAD="$KORVEL_SET_CLOCK" KORVEL_CLOCK_OFFSET="$HOME/offset"; exec "$KORVEL"'
YEARS = 10 * 365 * 86400


def keeps_all_points(trial):
    """Points are kept in the order in which they were taken, whatever the clock said."""
    trial.is_struck_and_goes_on()
    rows = trial.history()
    check(len(rows) >= 4, f"rows: {rows}")
    steps = [after[0] - before[0] for before, after in zip(rows, rows[1:])]
    check(max(map(abs, steps)) > YEARS / 2, f"the clock was not set: {rows}")


for words, offset in (("the clock is set back by ten years", -YEARS), ("the clock is set ahead by ten years", YEARS)):
    fault(words, "it works, samples on, and keeps all points of the history in their order",
          before='echo 0 >"$HOME/offset"', start=CLOCK, during=f'echo {offset} >"$HOME/offset"')(keeps_all_points)


@fault("the clock is before 1970", "it works; the points of the history have their negative times",
       before='echo -4000000000 >"$HOME/offset"', start=CLOCK)
def before_the_epoch(trial):
    trial.survives()
    check(all(row[0] < 0 for row in trial.history()), f"rows: {trial.history()}")


@fault("the clock jumps to and fro by a year, fifty times in ten seconds", "it works and samples on",
       before='echo 0 >"$HOME/offset"', start=CLOCK,
       during='for i in $(seq 25); do echo 31536000 >"$HOME/offset"; sleep 0.2; echo 0 >"$HOME/offset"; '
              'sleep 0.2; done')
def jumping_clock(trial):
    trial.is_struck_and_goes_on()
