#!/usr/bin/env python3
"""Has a real Prometheus scrape real node exporters beside simulated machines, and this machine through a socket.

Everything is on the loopback at ports that the system gives, in a folder that goes afterwards.

    prometheus_scrape_test.py SOURCE SNAPSHOT SCENARIO_METRICS
"""

import json
import os
import re
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.error
import urllib.parse
import urllib.request
from pathlib import Path

SOURCE, SNAPSHOT, SCENARIO_METRICS = (Path(sys.argv.pop(1)).resolve() for _ in range(3))
CONTRIB = SOURCE / "contrib/prometheus"
MACHINES = ["fair", "healthy", "strained"]  # scenarios of the same names
PATIENCE = 90  # seconds; a machine may be busy with everything else
LISTENING = "0A"  # a state in /proc/net/tcp
# No request leaves by a proxy.
OPENER = urllib.request.build_opener(urllib.request.ProxyHandler({}))
SCORE = re.compile(r"^korvel_score (\d+)$", re.MULTILINE)


def wait_for(what, condition):
    """The first true answer of the condition."""
    deadline = time.monotonic() + PATIENCE
    while True:
        answer = condition()
        if answer:
            return answer
        if time.monotonic() > deadline:
            raise AssertionError(f"{what} did not come; the last answer was {answer!r}")
        time.sleep(0.05)


class Server:
    """A program that listens on the loopback, at the port that the system gave it."""

    def __init__(self, folder, name, *command, path=os.defpath, descriptors=()):
        self.log = folder / f"{name}.log"
        with open(self.log, "wb") as log:
            # A session of its own: what it starts is ended with it.
            self.process = subprocess.Popen(
                [str(word) for word in command], stdin=subprocess.DEVNULL, stdout=log, stderr=log, cwd=folder,
                env={"PATH": path, "HOME": str(folder), "TZ": "UTC", "LANG": "C.UTF-8"}, start_new_session=True,
                pass_fds=descriptors)
        self.port = None

    def listening_port(self):
        if self.process.poll() is not None:
            raise AssertionError(f"{self.process.args[0]} ended:\n{self.log.read_text(encoding='utf-8')}")
        sockets = set()
        try:
            for descriptor in Path(f"/proc/{self.process.pid}/fd").iterdir():
                sockets.update(re.findall(r"^socket:\[(\d+)\]$", os.readlink(descriptor)))
        except FileNotFoundError:
            return None
        for line in Path("/proc/net/tcp").read_text(encoding="ascii").splitlines()[1:]:
            words = line.split()
            if words[3] == LISTENING and words[9] in sockets:
                return int(words[1].split(":")[1], 16)
        return None

    def address(self):
        if self.port is None:
            self.port = wait_for(f"the port of {self.process.args[0]}", self.listening_port)
        return f"127.0.0.1:{self.port}"

    def end(self):
        try:
            os.killpg(self.process.pid, signal.SIGKILL)
        except ProcessLookupError:
            pass
        self.process.wait()


def simulated(machine):
    done = subprocess.run([str(SCENARIO_METRICS), str(SOURCE / f"docs/scenarios/{machine}.json")], check=True,
                          stdout=subprocess.PIPE, text=True, timeout=PATIENCE)
    return done.stdout


class Scrape(unittest.TestCase):
    @classmethod
    def start(cls, name, *command, **options):
        server = Server(cls.folder, name, *command, **options)
        cls.addClassCleanup(server.end)
        return server

    @classmethod
    def setUpClass(cls):
        scratch = tempfile.TemporaryDirectory(prefix="korvel-prometheus-")
        cls.addClassCleanup(scratch.cleanup)
        cls.folder = Path(scratch.name)
        cls.metrics = {machine: simulated(machine) for machine in MACHINES}
        cls.scores = {machine: int(SCORE.search(text)[1]) for machine, text in cls.metrics.items()}
        exporters = {}
        for machine, text in cls.metrics.items():
            texts = cls.folder / machine
            texts.mkdir()
            # What is not whole yet is not read.
            (texts / "korvel.prom.new").write_text("half of a li", encoding="utf-8")
            (texts / "korvel.prom").write_text(text, encoding="utf-8")
            exporters[machine] = cls.start(
                f"{machine}-exporter", "prometheus-node-exporter", "--web.listen-address=127.0.0.1:0",
                "--collector.disable-defaults", "--collector.textfile", f"--collector.textfile.directory={texts}")
        hour_ago = time.time() - 3600
        os.utime(cls.folder / "fair/korvel.prom", (hour_ago, hour_ago))
        programs = f"{SNAPSHOT.parent}:{os.defpath}"
        # It takes no port 0, but a socket that listens already, as descriptor 3.
        scraped = socket.create_server(("127.0.0.1", 0))
        cls.addClassCleanup(scraped.close)
        own_address = "127.0.0.1:%d" % scraped.getsockname()[1]
        given = f"exec 3<&{scraped.fileno()}; LISTEN_FDS=1 LISTEN_PID=$$ exec \"$@\""
        cls.start("socket", "sh", "-c", given, "sh", "systemd-socket-activate", "--accept", "--inetd",
                  CONTRIB / "answer-scrape", path=programs, descriptors=[scraped.fileno()])  # fmt: skip
        shutil.copy(CONTRIB / "korvel-alerts.yml", cls.folder)
        configuration = {
            "global": {"scrape_interval": "1s", "scrape_timeout": "1s", "evaluation_interval": "1s"},
            "rule_files": ["korvel-alerts.yml"],
            "scrape_configs": [
                {"job_name": "node",
                 "static_configs": [{"targets": [exporter.address()], "labels": {"instance": machine}}
                                    for machine, exporter in exporters.items()]},
                {"job_name": "korvel", "scrape_interval": "4s", "scrape_timeout": "4s",
                 "static_configs": [{"targets": [own_address], "labels": {"instance": "this"}}]},
            ],
        }
        # JSON is YAML.
        (cls.folder / "prometheus.yml").write_text(json.dumps(configuration), encoding="utf-8")
        cls.prometheus = cls.start("prometheus", "prometheus", "--config.file=prometheus.yml",
                                   "--web.listen-address=127.0.0.1:0", "--storage.tsdb.path=data",
                                   "--log.level=warn")  # fmt: skip

    def get(self, path, **parameters):
        """The data that Prometheus answers; None while it is not ready."""
        url = f"http://{self.prometheus.address()}/api/v1/{path}?{urllib.parse.urlencode(parameters)}"
        try:
            with OPENER.open(url, timeout=PATIENCE) as answer:
                content = json.load(answer)
        except urllib.error.HTTPError as error:
            if error.code == 503:
                return None
            raise AssertionError(f"{url}: {error.code} {error.read().decode()}") from error
        self.assertEqual(content["status"], "success")
        return content["data"]

    def query(self, expression):
        """The answers: labels and value."""
        data = self.get("query", query=expression)
        return [(series["metric"], float(series["value"][1])) for series in data["result"]] if data else []

    def values(self, expression, label="instance"):
        return {labels.get(label): value for labels, value in self.query(expression)}

    def test_the_three_machines_differ(self):
        self.assertLess(self.scores["strained"], self.scores["fair"])
        self.assertLess(self.scores["fair"], self.scores["healthy"])

    def test_it_knows_the_lowest_score_and_whose_it_is(self):
        simulated_ones = 'korvel_score{job="node"}'
        wait_for("each score", lambda: self.values(simulated_ones) == self.scores)
        self.assertEqual(self.values(f"min({simulated_ones})"), {None: self.scores["strained"]})
        self.assertEqual(self.values(f"bottomk(1, {simulated_ones})"), {"strained": self.scores["strained"]})

    def test_every_series_arrives_with_its_value(self):
        printed = {}
        for line in self.metrics["strained"].splitlines():
            if not line.startswith("#"):
                name, value = line.rsplit(" ", 1)
                printed[name.replace('version="simulated"', "")] = float(value)
        self.assertGreater(len(printed), 20)

        def arrived():
            found = {}
            for labels, value in self.query('{__name__=~"korvel_.*", instance="strained"}'):
                factor = f'{{factor="{labels["factor"]}"}}' if "factor" in labels else ""
                found[labels["__name__"] + ("{}" if "version" in labels else factor)] = value
            return found == printed

        wait_for("each series", arrived)

    def test_the_alerts_name_the_machines_that_they_are_about(self):
        """Each has a time for which it must last, so they are pending: their tests say when they fire."""
        expected = {
            "KorvelScoreLow": {"strained"},
            "KorvelMemoryPressure": {"fair", "strained"},
            "KorvelReadingStale": {"fair"},
        }

        def alerts():
            data = self.get("alerts") or {"alerts": []}
            found = {}
            for alert in data["alerts"]:
                if alert["labels"]["instance"] in MACHINES and alert["state"] in ("pending", "firing"):
                    found.setdefault(alert["labels"]["alertname"], set()).add(alert["labels"]["instance"])
            return found == expected

        wait_for("each alert", alerts)

    def test_a_machine_is_scraped_through_a_socket(self):
        wait_for("this machine's score", lambda: "this" in self.values("korvel_score"))
        wait_for("a scrape that was well", lambda: self.values('up{job="korvel"}') == {"this": 1})
        self.assertIn("this", self.values("korvel_cpu_usage_ratio"), "the reading has processor time")

    def test_every_panel_of_the_dashboard_has_something_to_draw(self):
        board = json.loads((CONTRIB / "korvel-dashboard.json").read_text(encoding="utf-8"))
        self.assertEqual(len(board["panels"]), 5)
        for panel in board["panels"]:
            for target in panel["targets"]:
                with self.subTest(panel["title"]):
                    label = re.fullmatch(r"\{\{(\w+)\}\}", target["legendFormat"])[1]
                    expression = target["expr"].replace("$instance", ".*")
                    found = wait_for(expression, lambda text=expression: self.query(text))
                    self.assertTrue(all(label in labels for labels, _ in found), found)


if __name__ == "__main__":
    unittest.main()
