#!/usr/bin/env python3
"""Holds what zunic_inspect traffic says of a demo bus against what was sent, and shows what it costs the bus.

usage: traffic_bench.py BUILD SCENARIO [SECONDS]

First it samples a demo bus with the scenario for so long (30 s), and compares with what the bus records. Then it counts
the messages of a churning bus for 2 s, 20 times each without and with a sampler beside it, in turn.
"""

import json
import pathlib
import signal
import statistics
import subprocess
import sys
import tempfile
import time

PAIRS, PAIR_SECONDS = 20, 2


class Bus:
    """A demo bus, from its ready line to its end."""

    def __init__(self, build, *words):
        self.process = subprocess.Popen([build / "demo/zunic_demo_bus", *words], stdout=subprocess.PIPE, text=True)
        self.process.stdout.readline()

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.process.send_signal(signal.SIGINT)
        self.process.communicate()


def processor_time(process):
    with open(f"/proc/{process}/schedstat", encoding="ascii") as file:
        return int(file.read().split()[0]) / 1e9


def sample(build, channel, seconds):
    """The JSON of traffic, when it began and ended by the monotonic clock, and its share of a core."""
    words = [build / "zunic_inspect", "traffic", "--json", "--for", f"{seconds}s", "-c", channel]
    begin = time.monotonic_ns()
    with subprocess.Popen(words, stdout=subprocess.PIPE, text=True) as process:
        time.sleep(seconds - 1)
        spent = processor_time(process.pid) / (seconds - 1)
        output = process.communicate()[0]
    return json.loads(output), begin, time.monotonic_ns(), spent


def median_stays(messages, begin, end):
    stays = {}
    for message in messages:
        if message["freed"] and begin <= message["sent"] and message["freed"] <= end:
            stays.setdefault(message["sender"], []).append((message["freed"] - message["sent"]) / 1000)
    return {sender: (len(of), statistics.median(of)) for sender, of in stays.items()}


def compare(build, scenario, seconds):
    with tempfile.TemporaryDirectory() as folder:
        truth = pathlib.Path(folder) / "truth"
        with Bus(build, scenario, "--channel", "traffic_bench", "--truth", truth):
            told, begin, end, spent = sample(build, "traffic_bench", seconds)
        lines = [json.loads(line) for line in truth.read_text(encoding="utf-8").splitlines()]
    messages = [line for line in lines if "writerCounter" in line]
    sent = sum(begin <= message["sent"] <= end for message in messages)
    print(f"sent while the program ran: {sent}; counted: {told['messages_counted']}; seen: {told['messages_seen']}; "
          f"{100 * spent:.1f} % of a core; interval {told['interval_us']} us, longest {told['longest_interval_us']} us")
    true_stays = median_stays(messages, begin, end)
    for row in told["senders"]:
        count, stay = true_stays.get(row["id"], (0, 0))
        seen = row["stays_us"]["median"] if row["stays_us"] else None
        print(f"  sender {row['id']} {row['name']}: {row['messages']} of {count} seen; "
              f"median stay {seen} us, in truth {stay:.0f} us")


def churn(build, channel):
    """Messages a second that the bus sends."""
    words = [build / "zunic_inspect", "traffic", "--json", "--interval", "500ms", "--for", f"{PAIR_SECONDS}s", "-c", channel]
    told = json.loads(subprocess.run(words, check=True, capture_output=True, text=True).stdout)
    return told["messages_counted"] / told["seconds"] if told["messages_counted"] is not None else None


def pairs(build, scenario):
    ratios = []
    with Bus(build, scenario, "--channel", "churn_bench", "--churn", "500"):
        for _ in range(PAIRS):
            alone = churn(build, "churn_bench")
            words = [build / "zunic_inspect", "traffic", "--for", "none", "-c", "churn_bench"]
            with subprocess.Popen(words, stdout=subprocess.DEVNULL) as sampler:
                beside = churn(build, "churn_bench")
                sampler.send_signal(signal.SIGINT)
            if alone and beside:
                ratios.append(beside / alone)
    ratios.sort()
    print(f"messages of a churning bus with a sampler beside it, over those without: median {statistics.median(ratios):.3f}, "
          f"from {ratios[0]:.3f} to {ratios[-1]:.3f} in {len(ratios)} pairs")


def main():
    build, scenario = (pathlib.Path(word) for word in sys.argv[1:3])
    compare(build, scenario, int(sys.argv[3]) if len(sys.argv) > 3 else 30)
    pairs(build, scenario.with_name("small.json"))


main()
