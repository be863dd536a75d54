#!/usr/bin/env python3
"""Shortens a callgrind_annotate listing on stdin to its top functions. A function inlined into
several files is listed once: the largest of its inclusive costs, or the sum of its self costs.
Costs are printed per request. Usage:
    callgrind_annotate [--inclusive=yes] FILE | callgrind_top.py inclusive|self TOP REQUESTS"""
import re
import sys

mode, top, per = sys.argv[1], int(sys.argv[2]), int(sys.argv[3])
line_form = re.compile(r"^\s*([\d,]+) \(\s*[\d.]+%\)\s+(.*?)(?: \[(.*)\])?$")
costs, objects = {}, {}
for line in sys.stdin:
    match = line_form.match(line)
    if not match or match.group(2) == "PROGRAM TOTALS":
        continue
    cost = int(match.group(1).replace(",", ""))
    # "file:function": the file never holds a colon, the function may ("ns::f").
    function = match.group(2).split(":", 1)[-1]
    previous = costs.get(function, 0)
    costs[function] = max(previous, cost) if mode == "inclusive" else previous + cost
    if match.group(3):
        objects[function] = match.group(3).rsplit("/", 1)[-1]
print(f"{'per request':>12}  function")
for function, cost in sorted(costs.items(), key=lambda item: -item[1])[:top]:
    where = f"  ({objects[function]})" if function in objects else ""
    print(f"{cost / per:>12,.0f}  {function[:110]}{where}")
