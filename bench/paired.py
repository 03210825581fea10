"""Runs two commands in turn and gives the ratio of their times: median, least and most."""
import shlex
import statistics
import subprocess
import time


def seconds(command):
    start = time.perf_counter()
    subprocess.run(command, shell=isinstance(command, str), stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return time.perf_counter() - start


def compare(ours, peer, runs, left_out=None):
    """Commands are lists, or one string for the shell. `left_out`: a command whose time is taken off ours."""
    for command in (ours, peer, left_out):
        if command:
            seconds(command)
    ratios, our_times, peer_times = [], [], []
    for _ in range(runs):
        our_time = seconds(ours) - (seconds(left_out) if left_out else 0)
        peer_time = seconds(peer)
        ratios.append(our_time / peer_time)
        our_times.append(our_time)
        peer_times.append(peer_time)
    return statistics.median(ratios), min(ratios), max(ratios), statistics.median(our_times), statistics.median(peer_times)


def shown(command):
    return command if isinstance(command, str) else shlex.join(command)
