#!/usr/bin/python3
"""Turns zal_bench outputs into an SVG chart of zal against raw libzmq and a Markdown table.

    scripts/bench-chart.py CHART.svg RUN.txt [RUN.txt ...] > TABLE.md

Each ratio is taken within one run (both sides measured minutes apart on the same machine), and
the chart and table show the median of those ratios over the runs given. Standard library only.
"""
import statistics
import sys
from xml.sax.saxutils import escape

# label, zal line, raw line, target ratio (zal/raw, rates: higher is better; None: no target)
RATIOS = [
    ("stream 64 B vs poll-per-message", "stream_64B_zal", "stream_64B_raw_poll", 1.0),
    ("stream 64 B vs drain-after-poll", "stream_64B_zal", "stream_64B_raw_drain", 0.8),
    ("stream 64 KiB vs poll-per-message", "stream_64KiB_zal", "stream_64KiB_raw_poll", 0.9),
    ("stream 64 KiB vs drain-after-poll", "stream_64KiB_zal", "stream_64KiB_raw_drain", 0.9),
    ("Qt bridge 64 B vs drain-after-poll", "qtbridge_64B_zal", "qtbridge_64B_raw_drain", 0.5),
    ("Qt bridge under glib's loop", "qtbridge_64B_zal_glib", "qtbridge_64B_raw_drain", None),
    ("control inproc round trips", "control_inproc_zal_rate", "control_inproc_raw_rate", 0.8),
    ("control TCP round trips", "control_tcp_zal_rate", "control_tcp_raw_rate", 0.8),
    ("recording 64 B to MCAP vs Counter", "record_64B_mcap", "record_64B_counter", 0.8),
    ("recording 64 B to zal format vs Counter", "record_64B_zal", "record_64B_counter", None),
]

# Figures of zal alone: label, line, or a pair (numerator, denominator) for a ratio, and a bound.
FIGURES = [
    ("control inproc p50", "control_inproc_zal_p50", None),
    ("control inproc p99", "control_inproc_zal_p99", None),
    ("control inproc p99/p50", ("control_inproc_zal_p99", "control_inproc_zal_p50"), "<= 2"),
    ("control TCP p50", "control_tcp_zal_p50", None),
    ("control TCP p99", "control_tcp_zal_p99", None),
    ("control TCP p99/p50", ("control_tcp_zal_p99", "control_tcp_zal_p50"), "<= 2"),
    ("Qt bridge peak RSS", "qtbridge_peak_rss", None),
    ("processor create p50", "lifecycle_processor_create_p50", None),
    ("processor create p99", "lifecycle_processor_create_p99", None),
    ("processor delete p50", "lifecycle_processor_delete_p50", None),
    ("group create p50", "lifecycle_group_create_p50", None),
    ("group delete p50", "lifecycle_group_delete_p50", None),
    ("processors in one environment", "scale_processors", None),
    ("resident memory per processor", "scale_rss_per_processor", None),
    ("descriptors per processor", "scale_fds_per_processor", None),
]


def read_run(path):
    values, units = {}, {}
    with open(path, encoding="utf-8") as run:
        for line in run:
            parts = line.split()
            if len(parts) != 3 or line.startswith("#"):
                continue
            try:
                values[parts[0]] = float(parts[1])
            except ValueError:
                continue
            units[parts[0]] = parts[2]
    return values, units


def median_of(runs, key):
    if isinstance(key, tuple):
        found = [r[key[0]] / r[key[1]] for r in runs if key[0] in r and key[1] in r and r[key[1]] > 0]
    else:
        found = [r[key] for r in runs if key in r]
    return statistics.median(found) if found else None


def ratios(runs):
    rows = []
    for label, zal, raw, target in RATIOS:
        per_run = [r[zal] / r[raw] for r in runs if zal in r and raw in r and r[raw] > 0]
        if per_run:
            rows.append((label, statistics.median(per_run), target, median_of(runs, zal), median_of(runs, raw)))
    return rows


def svg(rows, run_count):
    width, left, bar_height, gap, top = 760, 260, 22, 10, 50
    scale_max = max(1.5, max(ratio for _, ratio, *_ in rows) * 1.1)
    plot = width - left - 40
    height = top + len(rows) * (bar_height + gap) + 50
    x = lambda value: left + plot * min(value, scale_max) / scale_max
    out = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" '
           f'font-family="sans-serif" font-size="12">',
           f'<rect width="{width}" height="{height}" fill="white"/>',
           f'<text x="{width / 2}" y="20" text-anchor="middle" font-size="15">zal / raw libzmq, '
           f'median of {run_count} run{"s" if run_count != 1 else ""} (right of the tick: target met)</text>']
    for tick in [t / 10 for t in range(0, int(scale_max * 10) + 1, 5)]:
        out.append(f'<line x1="{x(tick):.1f}" y1="{top - 8}" x2="{x(tick):.1f}" y2="{height - 40}" '
                   f'stroke="{"#444" if tick == 1.0 else "#ddd"}"/>')
        out.append(f'<text x="{x(tick):.1f}" y="{height - 25}" text-anchor="middle">{tick:.1f}</text>')
    for i, (label, ratio, target, _, _) in enumerate(rows):
        y = top + i * (bar_height + gap)
        colour = "#888" if target is None else "#3a7d44" if ratio >= target else "#c0392b"
        out.append(f'<text x="{left - 8}" y="{y + bar_height * 0.7:.1f}" text-anchor="end">{escape(label)}</text>')
        out.append(f'<rect x="{left}" y="{y}" width="{x(ratio) - left:.1f}" height="{bar_height}" fill="{colour}"/>')
        if target is not None:
            out.append(f'<line x1="{x(target):.1f}" y1="{y - 3}" x2="{x(target):.1f}" y2="{y + bar_height + 3}" '
                       f'stroke="black" stroke-width="3"/>')
        out.append(f'<text x="{x(ratio) + 5:.1f}" y="{y + bar_height * 0.7:.1f}">{ratio:.2f}</text>')
    out.append("</svg>")
    return "\n".join(out) + "\n"


def table(rows, runs, units):
    lines = ["| case | zal | raw | zal/raw | target |", "|---|---:|---:|---:|---:|"]
    for label, ratio, target, zal, raw in rows:
        unit = units.get(next(z for l, z, _, _ in RATIOS if l == label), "")
        if target is None:
            bound = "-"
        else:
            bound = f">= {target} ({'met' if ratio >= target else '**missed**'})"
        lines.append(f"| {label} | {zal:,.0f} {unit} | {raw:,.0f} {unit} | {ratio:.2f} | {bound} |")
    lines += ["", "| zal alone | median | bound |", "|---|---:|---:|"]
    for label, key, bound in FIGURES:
        value = median_of(runs, key)
        if value is None:
            continue
        unit = "" if isinstance(key, tuple) else " " + units.get(key, "")
        lines.append(f"| {label} | {value:,.2f}{unit} | {bound or ''} |")
    return "\n".join(lines) + "\n"


def main(argv):
    if len(argv) < 3:
        sys.stderr.write(__doc__)
        return 64
    loaded = [read_run(path) for path in argv[2:]]
    runs = [values for values, _ in loaded]
    units = {}
    for _, run_units in loaded:
        units.update(run_units)
    rows = ratios(runs)
    if not rows:
        sys.stderr.write("bench-chart: no zal/raw pairs in the runs given\n")
        return 1
    with open(argv[1], "w", encoding="utf-8") as chart:
        chart.write(svg(rows, len(runs)))
    sys.stdout.write(table(rows, runs, units))
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
