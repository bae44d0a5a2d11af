"""Prints what a call from Python costs, and beside it a query of sqlite3, in nanoseconds each: call.py CALLS SERVER"""

import sqlite3
import sys
import time

import vorlix


def nanoseconds(work, count):
    start = time.perf_counter_ns()
    for _ in range(count):
        work()
    return (time.perf_counter_ns() - start) / count


count = int(sys.argv[1])
database = sqlite3.connect(":memory:")
with vorlix.Server(program=sys.argv[2], lang="C") as server:
    rows = (lambda: server.v_Get("Name"), lambda: database.execute("select ?", ("Name",)).fetchone())
    for work in rows:
        nanoseconds(work, count // 10)  # to warm up
        print(nanoseconds(work, count))
