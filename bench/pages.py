#!/usr/bin/env python3
"""Measures the pages of kaveldesk serve: pages.py KAVELDESK INDEX. Prints lines "measure NAME VALUE":
seconds of each page, as the median of the clock and the server's processor time."""

import os
import re
import signal
import statistics
import subprocess
import sys
import time
import urllib.request

TIMES = 10
kaveldesk, index = sys.argv[1:]
with subprocess.Popen([kaveldesk, "serve", "--db", index, "--listen", "127.0.0.1:0"],
                      stdout=subprocess.PIPE, text=True) as server:
    address = server.stdout.readline().strip()

    def get(path):
        with urllib.request.urlopen(address + path) as reply:
            return reply.read().decode()

    def processor_s():
        with open(f"/proc/{server.pid}/stat", encoding="ascii") as stat:
            user, system = stat.read().rsplit(")", 1)[1].split()[11:13]
        return (int(user) + int(system)) / os.sysconf("SC_CLK_TCK")

    fingerprint = re.search(r"/(fingerprint/\w+)", get(""))[1]
    build = re.search(r"\?(build=[\w.]+)", get(""))[1]
    slowest = 0
    for name, path in (("overview", ""), ("overview_of_build", "?" + build), ("fingerprint", fingerprint),
                       ("list", "catches"), ("list_of_none", "catches?process=none")):
        clock = []
        before = processor_s()
        for _ in range(TIMES):
            start = time.monotonic()
            get(path)
            clock.append(time.monotonic() - start)
        cpu = (processor_s() - before) / TIMES
        slowest = max(slowest, cpu)
        print(f"measure page_{name} {statistics.median(clock):.4f}")
        print(f"measure page_{name}_cpu {cpu:.4f}")
    print(f"measure slowest_page_cpu {slowest:.4f}")
    server.send_signal(signal.SIGINT)
