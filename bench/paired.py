"""Runs two commands in turn and gives the ratio of their times: median, least and most."""
import shlex
import statistics
import subprocess
import tempfile
import time
from dataclasses import dataclass


@dataclass
class Comparison:
    median: float
    low: float
    high: float
    our_seconds: float
    peer_seconds: float
    our_peak_bytes: int


def seconds(command):
    start = time.perf_counter()
    subprocess.run(command, shell=isinstance(command, str), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return time.perf_counter() - start


def peak_bytes(command):
    """The most memory that a run holds; asked of a small parent, since a child starts with its parent's peak."""
    with tempfile.NamedTemporaryFile(mode="r") as told:
        seconds(["/usr/bin/time", "-q", "-f", "%M", "-o", told.name, *command])
        return int(told.read()) * 1024


def compare(ours, peer, runs, left_out=None):
    """Commands are lists, or one string for the shell. `left_out`: a command whose time is taken off ours."""
    peak = peak_bytes(ours)
    seconds(peer)
    our_times, peer_times = [], []
    for _ in range(runs):
        our_times.append(seconds(ours) - (seconds(left_out) if left_out else 0))
        peer_times.append(seconds(peer))
    ratios = [our_time / peer_time for our_time, peer_time in zip(our_times, peer_times)]
    return Comparison(statistics.median(ratios), min(ratios), max(ratios), statistics.median(our_times),
                      statistics.median(peer_times), peak)


def shown(command):
    return command if isinstance(command, str) else shlex.join(command)
