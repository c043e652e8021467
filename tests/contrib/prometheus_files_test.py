#!/usr/bin/env python3
"""Holds what contrib/prometheus ships against the tools that read it, and against what the program prints.

    prometheus_files_test.py SOURCE SNAPSHOT SCENARIO_METRICS
"""

import itertools
import json
import re
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

SOURCE, SNAPSHOT, SCENARIO_METRICS = (Path(sys.argv.pop(1)).resolve() for _ in range(3))
CONTRIB = SOURCE / "contrib/prometheus"
ANSWER = CONTRIB / "answer-scrape"
UNITS = sorted(path.name for path in CONTRIB.glob("korvel-*.*") if path.suffix in (".service", ".socket", ".timer"))
# Names of series of the program's own.
OURS = re.compile(r"\bkorvel_[a-z0-9_]+")
# No unit may be less confined than this, in tenths of systemd's measure (0 to 100).
EXPOSURE = 15


def run(*command, **options):
    """All that it printed, which is in the error when it fails."""
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True, check=False,
                          timeout=120, **options)
    if done.returncode != 0:
        raise AssertionError(f"{command}: {done.returncode}\n{done.stdout}{done.stderr}")
    return done.stdout + done.stderr


def scenarios():
    return sorted([*SOURCE.glob("docs/scenarios/*.json"), *SOURCE.glob("tests/fixtures/scenarios/*.json")])


def dashboard():
    return json.loads((CONTRIB / "korvel-dashboard.json").read_text(encoding="utf-8"))


def settings(name):
    """The settings of a unit, each with its values."""
    found = {}
    for line in (CONTRIB / name).read_text(encoding="utf-8").splitlines():
        if "=" in line and not line.startswith("#"):
            key, value = line.split("=", 1)
            found.setdefault(key, []).append(value)
    return found


class Metrics(unittest.TestCase):
    def test_promtool_finds_nothing_wrong_with_any_reading(self):
        texts = [(scenario.name, run(SCENARIO_METRICS, scenario)) for scenario in scenarios()]
        texts += [("this machine", run(SNAPSHOT, "--prometheus", "--once"))]
        self.assertGreater(len(texts), 10)
        for name, text in texts:
            with self.subTest(name):
                self.assertIn("\nkorvel_score ", text)
                self.assertEqual(run("promtool", "check", "metrics", input=text), "")

    def test_promtool_would_find_a_wrong_one(self):
        text = run(SNAPSHOT, "--prometheus", "--once")
        for old, new in (("korvel_load1", "korvel_load1_total"), ("# HELP korvel_score ", "# HELP korvel_other "),
                         ("korvel_load1 ", "korvel_load-1 ")):  # fmt: skip
            with self.subTest(new), self.assertRaises(AssertionError):
                run("promtool", "check", "metrics", input=text.replace(old, new))


class Rules(unittest.TestCase):
    def test_promtool_reads_rules_and_configuration(self):
        run("promtool", "check", "rules", CONTRIB / "korvel-alerts.yml")
        run("promtool", "check", "config", CONTRIB / "prometheus.yml")

    def test_the_rules_pass_their_tests(self):
        run("promtool", "test", "rules", CONTRIB / "korvel-alerts-test.yml")

    def test_every_rule_is_tested(self):
        rules = (CONTRIB / "korvel-alerts.yml").read_text(encoding="utf-8")
        tests = (CONTRIB / "korvel-alerts-test.yml").read_text(encoding="utf-8")
        alerts = set(re.findall(r"- alert: (\w+)", rules))
        self.assertEqual(len(alerts), 5)
        self.assertEqual(set(re.findall(r"alertname: (\w+)", tests)), alerts)


class Names(unittest.TestCase):
    def test_every_series_that_is_asked_for_exists(self):
        printed = set(OURS.findall("\n".join(run(SCENARIO_METRICS, scenario) for scenario in scenarios())))
        board = dashboard()
        asked = {
            "dashboard": [target["expr"] for panel in board["panels"] for target in panel["targets"]]
            + [str(variable["query"]) for variable in board["templating"]["list"]],
            "rules": re.findall(r"expr: (.*)", (CONTRIB / "korvel-alerts.yml").read_text(encoding="utf-8")),
            "their descriptions": [(CONTRIB / "korvel-alerts.yml").read_text(encoding="utf-8")],
            "tests of the rules": [(CONTRIB / "korvel-alerts-test.yml").read_text(encoding="utf-8")],
            "README": [(CONTRIB / "README.md").read_text(encoding="utf-8")],
        }
        for place, texts in asked.items():
            with self.subTest(place):
                names = set(OURS.findall("\n".join(texts)))
                self.assertNotEqual(names, set())
                self.assertEqual(names - printed, set())


class Dashboard(unittest.TestCase):
    def test_it_is_portable(self):
        board = dashboard()
        self.assertEqual(board["title"], "Korvel")
        self.assertNotIn("id", board, "numbers are the server's")
        first = board["templating"]["list"][0]
        self.assertEqual((first["type"], first["query"]), ("datasource", "prometheus"))
        places = board["panels"] + [target for panel in board["panels"] for target in panel["targets"]]
        for place in places + board["templating"]["list"][1:]:
            self.assertEqual(place["datasource"], {"type": "prometheus", "uid": "${datasource}"})

    def test_it_shows_what_there_is_to_see(self):
        titles = [panel["title"] for panel in dashboard()["panels"]]
        self.assertEqual(titles, ["Lowest score", "Score", "Points lost by factor", "Memory available",
                                  "Room on the disk"])  # fmt: skip

    def test_panels_have_numbers_of_their_own_and_lie_side_by_side(self):
        panels = dashboard()["panels"]
        self.assertEqual(len({panel["id"] for panel in panels}), len(panels))
        for panel in panels:
            self.assertLessEqual(panel["gridPos"]["x"] + panel["gridPos"]["w"], 24)
        for one, other in itertools.combinations([panel["gridPos"] for panel in panels], 2):
            apart = (one["x"] + one["w"] <= other["x"] or other["x"] + other["w"] <= one["x"]
                     or one["y"] + one["h"] <= other["y"] or other["y"] + other["h"] <= one["y"])  # fmt: skip
            self.assertTrue(apart, (one, other))


class Units(unittest.TestCase):
    def setUp(self):
        scratch = tempfile.TemporaryDirectory(prefix="korvel-units-")
        self.addCleanup(scratch.cleanup)
        self.folder = Path(scratch.name)

    def test_systemd_finds_nothing_wrong(self):
        self.assertEqual(len(UNITS), 5)
        for name in UNITS:
            text = (CONTRIB / name).read_text(encoding="utf-8")
            # Where the programs are in this build.
            text = text.replace("/usr/bin/korvel-snapshot", str(SNAPSHOT))
            text = text.replace("/usr/local/lib/korvel/answer-scrape", str(ANSWER))
            (self.folder / name).write_text(text, encoding="utf-8")
        paths = [self.folder / name for name in UNITS]
        self.assertEqual(run("systemd-analyze", "verify", "--man=no", *paths), "")

    def test_services_are_confined(self):
        services = [name for name in UNITS if name.endswith(".service")]
        self.assertEqual(len(services), 3)
        for name in services:
            with self.subTest(name):
                run("systemd-analyze", "security", "--offline=true", f"--threshold={EXPOSURE}", CONTRIB / name)

    def test_the_file_gets_its_name_when_it_is_whole(self):
        target = "/var/lib/prometheus/node-exporter/korvel.prom"
        reading = settings("korvel-textfile-reading.service")
        naming = settings("korvel-textfile.service")
        self.assertEqual(reading["StandardOutput"], [f"truncate:{target}.new"])
        self.assertEqual(reading["DynamicUser"], ["yes"])
        for order in ("Requires", "After"):
            self.assertEqual(naming[order], ["korvel-textfile-reading.service"])
        self.assertEqual(naming["ReadWritePaths"], [str(Path(target).parent)])
        # One rename within the folder: the new file takes the place of the old one.
        (self.folder / "korvel.prom").write_text("old", encoding="utf-8")
        (self.folder / "korvel.prom.new").write_text("new", encoding="utf-8")
        command = naming["ExecStart"][0].replace(str(Path(target).parent), str(self.folder))
        run(*command.split())
        self.assertEqual([path.name for path in self.folder.iterdir()], ["korvel.prom"])
        self.assertEqual((self.folder / "korvel.prom").read_text(encoding="utf-8"), "new")

    def test_scrapes_are_answered_on_the_loopback_only(self):
        self.assertEqual(settings("korvel-scrape.socket")["ListenStream"], ["127.0.0.1:9797"])
        self.assertIn('"127.0.0.1:9797"', (CONTRIB / "prometheus.yml").read_text(encoding="utf-8"))


class Answer(unittest.TestCase):
    """The script alone, with a program in place of korvel-snapshot."""

    def setUp(self):
        scratch = tempfile.TemporaryDirectory(prefix="korvel-answer-")
        self.addCleanup(scratch.cleanup)
        self.program = Path(scratch.name) / "korvel-snapshot"
        self.have("echo '# HELP é'; echo \"$*\"")

    def have(self, body):
        self.program.write_text("#!/bin/sh\n" + body + "\n", encoding="utf-8")
        self.program.chmod(0o755)

    def ask(self, request):
        """Status line, fields and body."""
        done = subprocess.run([ANSWER], input=request, capture_output=True, check=True, timeout=60,
                              env={"PATH": f"{self.program.parent}:/usr/bin:/bin", "LANG": "C.UTF-8"})
        head, _, body = done.stdout.partition(b"\r\n\r\n")
        lines = head.decode().split("\r\n")
        return lines[0], dict(line.split(": ", 1) for line in lines[1:]), body

    def test_a_scrape_gets_the_reading_in_the_right_format(self):
        for request in (b"GET /metrics HTTP/1.1\r\nHost: x\r\nAccept: */*\r\n\r\n", b"GET /metrics HTTP/1.0\r\n\r\n",
                        b"GET /metrics?name=x HTTP/1.1\r\n\r\n"):  # fmt: skip
            with self.subTest(request):
                status, fields, body = self.ask(request)
                self.assertEqual(status, "HTTP/1.1 200 OK")
                self.assertEqual(fields["Content-Type"], "text/plain; version=0.0.4; charset=utf-8")
                self.assertEqual(fields["Connection"], "close")
                self.assertEqual(body, "# HELP é\n--prometheus\n".encode())
                self.assertEqual(fields["Content-Length"], str(len(body)))

    def test_a_head_is_answered_without_the_body(self):
        status, fields, body = self.ask(b"HEAD /metrics HTTP/1.1\r\n\r\n")
        self.assertEqual((status, fields["Content-Length"], body), ("HTTP/1.1 200 OK", "23", b""))

    def test_what_is_no_scrape_is_refused(self):
        many = b"GET /metrics HTTP/1.1\r\n" + b"X: y\r\n" * 150 + b"\r\n"
        for request, status in (
            (b"POST /metrics HTTP/1.1\r\n\r\n", "405 Method Not Allowed"),
            (b"GET / HTTP/1.1\r\n\r\n", "404 Not Found"),
            (b"GET /metrics/../../etc/passwd HTTP/1.1\r\n\r\n", "404 Not Found"),
            (b"GET * HTTP/1.1\r\n\r\n", "404 Not Found"),
            (b"GET /metrics\r\n\r\n", "400 Bad Request"),
            (b"GET $(touch x) HTTP/1.1\r\n\r\n", "400 Bad Request"),
            (b"\r\n\r\n", "400 Bad Request"),
            (many, "431 Request Header Fields Too Large"),
        ):
            with self.subTest(request[:40]):
                answer, fields, body = self.ask(request)
                self.assertEqual(answer, f"HTTP/1.1 {status}")
                self.assertEqual(body.decode(), f"{status}\n")
                self.assertEqual(fields.get("Allow"), "GET, HEAD" if status.startswith("405") else None)

    def test_without_a_reading_there_is_no_half_of_one(self):
        self.have("echo korvel_score 1; exit 1")
        status, _, body = self.ask(b"GET /metrics HTTP/1.1\r\n\r\n")
        self.assertEqual((status, body), ("HTTP/1.1 503 Service Unavailable", b"503 Service Unavailable\n"))

    def test_a_connection_that_says_nothing_gets_nothing(self):
        done = subprocess.run([ANSWER], input=b"", capture_output=True, check=True, timeout=60)
        self.assertEqual(done.stdout, b"")


if __name__ == "__main__":
    unittest.main()
