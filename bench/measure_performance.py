#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""measure_performance.py [--tiny] [--busy] BUILD TARGET: takes the measurements of
docs/performance.md with the programs in BUILD, and writes every figure by name into the JSON file
TARGET.

Refuses to begin while other programs take more than a tenth of the processors, unless --busy is
given. --tiny measures a few small images, to test the script. Captures are kept in a temporary
folder in BUILD. Nothing is written if a program fails.
"""
import argparse
import contextlib
import datetime
import json
import os
import pathlib
import re
import resource
import shutil
import subprocess
import sys
import tempfile
import time

sys.dont_write_bytecode = True
from performance_tables import OTHERS_LIMIT  # noqa: E402

# Numbers of images with how often each is measured, in turn; the fastest time counts. Runs of many
# images take so long that they are measured once.
WHOLE = {
    "ratio": {"images": 24, "repetitions": 5, "sizes": ["1280x720", "1920x1080", "3840x2160"]},
    "size": "1920x1080",
    # The index of the first image that is used of the long capture; after its last image comes its
    # first. With about one in five dozens the filter keeps too few images. It keeps eight of the
    # dozen that begins here.
    "first": 108,
    "growth": {"20": 3, "40": 3, "60": 2, "80": 2, "120": 1, "160": 1},
    "stages": {"24": 3, "80": 2},
    "command": {"12": 3, "16": 3, "24": 3, "40": 3, "60": 2},
    "beside": "24",
    "command_stages": {"24": 3, "60": 2},
    "inspect": 3,
    "lens_solve": {"board": "11x8", "images": ["24", "60", "100", "150", "200", "300"]},
    "memory": {"images": 24, "sizes": ["1280x720", "1920x1080", "3840x2160"]},
    "exports": {"repetitions": 5, "seconds": 0.3},
}
TINY = {
    "ratio": {"images": 14, "repetitions": 1, "sizes": ["640x360"]},
    "size": "640x360",
    "first": 0,
    "growth": {"12": 1, "16": 1},
    "stages": {"16": 1},
    "command": {"12": 1, "16": 1},
    "beside": "16",
    "command_stages": {"16": 1},
    "inspect": 1,
    "lens_solve": {"board": "5x4", "images": ["24", "30"]},
    "memory": {"images": 12, "sizes": ["640x360", "720x405"]},
    "exports": {"repetitions": 1, "seconds": 0.01},
}
# 'rigsync calibrate': good, look, don't use, usable. A capture of a dozen images may be any of
# them.
CALIBRATED = (0, 20, 21, 99)
# The tracker noise of bench/accuracy.cpp.
NOISE = ["--position-noise", "0.3mm", "--rotation-noise", "0.03"]
SEED = 4

start = time.monotonic()


def say(text):
    seconds = int(time.monotonic() - start)
    print(f"{seconds // 60:2}:{seconds % 60:02}  {text}", flush=True)


def run(*command, statuses=(0,), **options):
    """Standard output of a program, and its duration in seconds."""
    began = time.perf_counter()
    done = subprocess.run([str(part) for part in command], stdout=subprocess.PIPE,
                          stderr=subprocess.PIPE, stdin=subprocess.DEVNULL, text=True,
                          errors="replace", **options)
    seconds = time.perf_counter() - began
    if done.returncode not in statuses:
        sys.exit(f"performance: {' '.join(str(part) for part in command)}\n"
                 f"ended with {done.returncode}:\n{done.stdout[-2000:]}{done.stderr[-2000:]}")
    return done.stdout, seconds


def peak_mib(*command, statuses=(0,)):
    """The peak of a program's resident memory."""
    with subprocess.Popen([str(part) for part in command], stdout=subprocess.DEVNULL,
                          stderr=subprocess.DEVNULL, stdin=subprocess.DEVNULL) as started:
        _, status, usage = os.wait4(started.pid, 0)
        started.returncode = os.waitstatus_to_exitcode(status)
    if started.returncode not in statuses:
        sys.exit(f"performance: {' '.join(str(part) for part in command)}\n"
                 f"ended with {started.returncode}")
    return usage.ru_maxrss / 1024.0


class Processors:
    """The processor time used since construction, in seconds of one processor."""

    def __init__(self):
        self.before = self.now()

    @staticmethod
    def now():
        with open("/proc/stat", encoding="ascii") as source:
            # user, nice, system, idle, waiting, interrupts (two), stolen by other machines
            ticks = [int(field) for field in source.readline().split()[1:9]]
        ours = sum(usage.ru_utime + usage.ru_stime
                   for usage in map(resource.getrusage,
                                    (resource.RUSAGE_SELF, resource.RUSAGE_CHILDREN)))
        ticks = [count / os.sysconf("SC_CLK_TCK") for count in ticks]
        idle = ticks[3] + ticks[4]
        return sum(ticks), sum(ticks) - idle - ours

    def others_share(self):
        """The share of all processor time that other programs used."""
        all_seconds, others = (after - before for after, before in zip(self.now(), self.before))
        return max(others, 0.0) / all_seconds


def require_idle():
    processors = Processors()
    time.sleep(3)
    share = processors.others_share()
    if share > OTHERS_LIMIT:
        sys.exit(f"performance: other programs take {share:.0%} of the processors, so the times "
                 "would be wrong. Wait for them to end, or use --busy.")


def processor_name():
    with open("/proc/cpuinfo", encoding="utf-8") as source:
        found = re.search(r"^model name\s*:\s*(.*)$", source.read(), re.M)
    if not found:
        return os.uname().machine
    # For example "Intel(R) Xeon(R) CPU E5 @ 2.60GHz".
    name = re.sub(r"\((R|TM)\)|@.*|\b(CPU|Processor)\b", " ", found.group(1), flags=re.I)
    return " ".join(name.split())


class Measurement:
    def __init__(self, build, work, plan):
        self.build, self.work, self.plan = build, work, plan
        self.rigsync = build / "rigsync" / "rigsync"
        self.figures = {}
        self.built = {}

    @contextlib.contextmanager
    def folder(self, name):
        made = self.work / name
        made.mkdir()
        yield made
        shutil.rmtree(made)

    def benchmark(self, name, *arguments, statuses=(0,)):
        """The measurements of a program that uses Google Benchmark, by benchmark."""
        target = self.work / f"{name}.json"
        run(self.build / "bench" / name, *arguments, f"--benchmark_out={target}",
            "--benchmark_out_format=json", statuses=statuses,
            env=dict(os.environ, TMPDIR=str(self.work)))
        if not target.exists():
            sys.exit(f"performance: {name} told nothing")
        with open(target, encoding="utf-8") as source:
            return json.load(source)["benchmarks"]

    def ratios(self):
        wanted = self.plan["ratio"]
        # Status 1 is for a ratio above the limit, which is a result too.
        for found in self.benchmark("calibration_bench", wanted["images"], wanted["repetitions"],
                                    *wanted["sizes"], statuses=(0, 1)):
            size = found["name"].split("/")[1]
            for name in ("calibration_s", "bare_s", "ratio", "annotated"):
                self.figures[f"ratio/{size}/{name}"] = found[name]

    def exports(self):
        wanted = self.plan["exports"]
        for found in self.benchmark("export_times",
                                    f"--benchmark_repetitions={wanted['repetitions']}",
                                    f"--benchmark_min_time={wanted['seconds']}"):
            if found["run_type"] != "iteration":
                continue
            name = f"call/{found['run_name']}"
            assert found["time_unit"] == "ns"
            self.figures[f"{name}/ns"] = min(found["real_time"],
                                             self.figures.get(f"{name}/ns", float("inf")))
            self.figures[f"{name}/lines"] = found["lines"]

    def simulate(self, target, size, images):
        return run(self.rigsync, "simulate", target, "--images", images, "--size", size,
                   "--seed", SEED, "--paths", "relative", *NOISE)[1]

    def some_lines(self, capture, images):
        """Writes a second CSV into the capture's folder, with some of its images."""
        header, *lines = (capture / "capture.csv").read_text().splitlines(keepends=True)
        first = self.plan["first"] % len(lines)
        target = capture / f"capture-{images}.csv"
        target.write_text("".join([header, *(lines[first:] + lines[:first])[:int(images)]]))
        return target

    def stage_times(self, capture, images, *options):
        csv = self.some_lines(capture, images)
        with self.folder("stage_times") as output:
            printed = run(self.build / "bench" / "stage_times", csv, capture / "truth.json", output,
                          *options)[0]
        figures = {}
        for line in printed.splitlines():
            name, value = line.split(" ", 1)
            if name in ("opencv", "compiler", "threads"):
                self.built[name] = value
            else:
                figures[name] = float(value)
        return figures

    def keep_fastest(self, place, figures, by):
        """Keeps all figures of the fastest run, so that its stages add up."""
        if figures[by] < self.figures.get(f"{place}/{by}", float("inf")):
            for name, value in figures.items():
                self.figures[f"{place}/{name}"] = value

    def calibrate(self, capture, images, output):
        """The command line that calibrates some images of the capture."""
        return (self.rigsync, "calibrate", self.some_lines(capture, images), "--config",
                capture / "stage.json", "--out", output / "result")

    def command(self, capture, images):
        with self.folder("command") as output:
            seconds = run(*self.calibrate(capture, images, output), statuses=CALIBRATED)[1]
        self.keep_fastest(f"command/{images}", {"seconds": seconds}, "seconds")

    def command_stages(self, capture, images):
        csv = self.some_lines(capture, images)
        with self.folder("command_stages") as output:
            printed = run(self.build / "bench" / "command_stages", csv, capture / "truth.json",
                          output)[0]
        figures = {name: float(value)
                   for name, value in (line.split(" ", 1) for line in printed.splitlines())}
        figures["total_s"] = sum(value for name, value in figures.items() if name.endswith("_s"))
        self.keep_fastest(f"command_stages/{images}", figures, "total_s")

    def lens_solve(self):
        wanted = self.plan["lens_solve"]
        printed = run(self.build / "bench" / "lens_solve_times", wanted["board"],
                      *wanted["images"])[0]
        for line in printed.splitlines():
            words = line.split()
            named = dict(zip(words[::2], map(float, words[1::2])))
            for name in ("seconds", "expected_s", "grown_mib", "expected_mib"):
                self.figures[f"lens_solve/{named['images']:.0f}/{name}"] = named[name]

    def counts(self, capture):
        plans = [self.plan[name] for name in ("growth", "stages", "command", "command_stages")]
        growth, stages, command, command_stages = plans
        for images in sorted({count for plan in plans for count in plan}, key=int):
            say(f"{images} images")
            for turn in range(max(plan.get(images, 0) for plan in plans)):
                if turn < growth.get(images, 0):
                    self.keep_fastest(f"growth/{images}", self.stage_times(capture, images),
                                      "total_s")
                if turn < stages.get(images, 0):
                    self.keep_fastest(f"stages/{images}",
                                      self.stage_times(capture, images, "bare"), "total_s")
                if turn < command.get(images, 0):
                    self.command(capture, images)
                if turn < command_stages.get(images, 0):
                    self.command_stages(capture, images)

    def inspect(self, capture):
        csv = self.some_lines(capture, self.plan["beside"])
        for _ in range(self.plan["inspect"]):
            # Status 1 is for warnings, which tracker noise can cause.
            seconds = run(self.rigsync, "inspect", csv, "--config", capture / "stage.json",
                          statuses=(0, 1))[1]
            self.keep_fastest("inspect", {"seconds": seconds}, "seconds")

    def memory(self, big_capture):
        wanted = self.plan["memory"]
        for size in wanted["sizes"]:
            say(f"memory, {size}")
            with self.folder("memory") as output:
                capture = big_capture
                if size != self.plan["size"]:
                    capture = output / "capture"
                    self.simulate(capture, size, wanted["images"])
                figures = self.stage_times(capture, wanted["images"])
                self.figures[f"memory/{size}/peak_mib"] = figures["peak_mib"]
                self.figures[f"memory/{size}/command_mib"] = peak_mib(
                    *self.calibrate(capture, wanted["images"], output), statuses=CALIBRATED)

    def measure(self):
        say("ratio to the bare OpenCV calls")
        self.ratios()
        say("log line and exports")
        self.exports()
        say("lens solve")
        self.lens_solve()
        most = max((*self.plan["growth"], *self.plan["stages"], *self.plan["command"]), key=int)
        say(f"drawing {most} images")
        with self.folder("captures") as captures:
            capture = captures / "capture"
            self.figures["simulate/seconds"] = self.simulate(capture, self.plan["size"], most)
            self.figures["simulate/images"] = float(most)
            os.sync()  # or the images would be written to disk while others are read
            self.counts(capture)
            say("rigsync inspect")
            self.inspect(capture)
            self.memory(capture)


def main():
    reader = argparse.ArgumentParser(description=__doc__.split("\n\n")[0])
    reader.add_argument("--tiny", action="store_true")
    reader.add_argument("--busy", action="store_true")
    reader.add_argument("build", type=pathlib.Path)
    reader.add_argument("target", type=pathlib.Path)
    given = reader.parse_args()
    if not given.busy:
        require_idle()
    plan = TINY if given.tiny else WHOLE
    processors = Processors()
    with tempfile.TemporaryDirectory(prefix="measuring-", dir=given.build) as work:
        measurement = Measurement(given.build.resolve(), pathlib.Path(work).resolve(), plan)
        measurement.measure()
    say("measured")
    measured = {
        "plan": plan,
        "machine": {"processor": processor_name(), "cores": len(os.sched_getaffinity(0)),
                    "others_share": processors.others_share(), **measurement.built},
        "date": datetime.date.today().isoformat(),
        "figures": measurement.figures,
    }
    given.target.write_text(json.dumps(measured, indent=1) + "\n")


main()
