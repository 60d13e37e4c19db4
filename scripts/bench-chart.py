#!/usr/bin/python3
"""Turns zal_bench outputs into an SVG chart of zal against raw libzmq and a Markdown table.

    scripts/bench-chart.py CHART.svg RUN.txt [RUN.txt ...] > TABLE.md

Each ratio is taken within one run (both sides measured minutes apart on the same machine), and
the chart and table show the median of those ratios over the runs given. Standard library only.
"""
import statistics
import sys
from xml.sax.saxutils import escape

# label, zal line, reference line (raw libzmq, or NNG where the label says so), target ratio
# zal/reference or None, and which way is better: rates "higher" (the target is a floor),
# latencies "lower" (the target is a ceiling).
RATIOS = [
    ("stream 64 B vs poll-per-message", "stream_64B_zal", "stream_64B_raw_poll", 1.0, "higher"),
    ("stream 64 B vs drain-after-poll", "stream_64B_zal", "stream_64B_raw_drain", 0.8, "higher"),
    ("stream 64 KiB vs poll-per-message", "stream_64KiB_zal", "stream_64KiB_raw_poll", 0.9, "higher"),
    ("stream 64 KiB vs drain-after-poll", "stream_64KiB_zal", "stream_64KiB_raw_drain", 0.9, "higher"),
    ("Qt bridge 64 B vs drain-after-poll", "qtbridge_64B_zal", "qtbridge_64B_raw_drain", 0.5, "higher"),
    ("Qt bridge under glib's loop", "qtbridge_64B_zal_glib", "qtbridge_64B_raw_drain", None, "higher"),
    ("control inproc round trips", "control_inproc_zal_rate", "control_inproc_raw_rate", 0.8, "higher"),
    ("control TCP round trips", "control_tcp_zal_rate", "control_tcp_raw_rate", 0.8, "higher"),
    ("recording 64 B to MCAP vs Counter", "record_64B_mcap", "record_64B_counter", 0.8, "higher"),
    ("recording 64 B to zal format vs Counter", "record_64B_zal", "record_64B_counter", None, "higher"),
]
for transport, shown in (("inproc", "inproc"), ("tcp", "TCP")):
    for size, size_shown in (("64B", "64 B"), ("64KiB", "64 KiB")):
        for quantile, label, target in (("p50", "p50", 1.2), ("p99", "p99", 1.5), ("p999", "p99.9", None)):
            key = f"latency_{transport}_{size}"
            RATIOS.append((f"latency {shown} {size_shown} {label}", f"{key}_zal_{quantile}", f"{key}_raw_{quantile}",
                           target, "lower"))
RATIOS += [(f"fan-out to {width}, summed", f"fanout_{width}_zal", f"fanout_{width}_raw", 0.9, "higher")
           for width in (1, 4, 16)]
RATIOS += [
    ("vs NNG: stream 64 B", "stream_64B_zal", "nng_stream_64B", 1.0, "higher"),
    ("vs NNG: stream 64 KiB", "stream_64KiB_zal", "nng_stream_64KiB", 1.0, "higher"),
    ("vs NNG: round trips inproc", "control_inproc_zal_rate", "nng_reqrep_inproc_rate", 1.0, "higher"),
    ("vs NNG: round trips TCP", "control_tcp_zal_rate", "nng_reqrep_tcp_rate", 1.0, "higher"),
]

# Figures of zal alone: label, line, or a pair (numerator, denominator) for a ratio, and a bound
# ("<= 2") that the median meets or misses, or None.
FIGURES = [
    ("control inproc p50", "control_inproc_zal_p50", None),
    ("control inproc p99", "control_inproc_zal_p99", None),
    ("control inproc p99/p50", ("control_inproc_zal_p99", "control_inproc_zal_p50"), "<= 2"),
    ("control TCP p50", "control_tcp_zal_p50", None),
    ("control TCP p99", "control_tcp_zal_p99", None),
    ("control TCP p99/p50", ("control_tcp_zal_p99", "control_tcp_zal_p50"), "<= 2"),
    ("NNG request/reply inproc p50", "nng_reqrep_inproc_p50", None),
    ("NNG request/reply TCP p50", "nng_reqrep_tcp_p50", None),
    ("Qt bridge peak RSS", "qtbridge_peak_rss", None),
    ("processor create p50", "lifecycle_processor_create_p50", None),
    ("processor create p99", "lifecycle_processor_create_p99", None),
    ("processor delete p50", "lifecycle_processor_delete_p50", None),
    ("group create p50", "lifecycle_group_create_p50", None),
    ("group delete p50", "lifecycle_group_delete_p50", None),
    ("control round trip p50, 1 processor", "scale_roundtrip_at_1_p50", None),
    ("control round trip p99, 1 processor", "scale_roundtrip_at_1_p99", None),
    ("control round trip p50, 100 processors", "scale_roundtrip_at_100_p50", None),
    ("control round trip p99, 100 processors", "scale_roundtrip_at_100_p99", None),
    ("control round trip p50, 500 processors", "scale_roundtrip_at_500_p50", None),
    ("control round trip p99, 500 processors", "scale_roundtrip_at_500_p99", None),
    ("round trip p50 at 500 / at 1", ("scale_roundtrip_at_500_p50", "scale_roundtrip_at_1_p50"), "<= 1.2"),
    ("processor create p50, processors 1-100", "scale_create_p50_1_100", None),
    ("processor create p50, processors 101-500", "scale_create_p50_101_500", None),
    ("processor create p50, processors 501 on", "scale_create_p50_501_end", None),
    ("processors in one environment", "scale_processors", None),
    ("resident memory per processor", "scale_rss_per_processor", None),
    ("descriptors per processor", "scale_fds_per_processor", None),
]


def met(ratio, target, better):
    return ratio >= target if better == "higher" else ratio <= target


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
    for label, zal, raw, target, better in RATIOS:
        per_run = [r[zal] / r[raw] for r in runs if zal in r and raw in r and r[raw] > 0]
        if per_run:
            rows.append((label, statistics.median(per_run), target, better, median_of(runs, zal),
                         median_of(runs, raw)))
    return rows


def svg(rows, run_count):
    width, left, bar_height, gap, top = 760, 260, 22, 10, 50
    # Past 4 a bar only says "far off"; its number tells how far, and the ticks stay readable.
    scale_max = min(4.0, max(1.5, max(ratio for _, ratio, *_ in rows) * 1.1))
    plot = width - left - 40
    height = top + len(rows) * (bar_height + gap) + 50
    x = lambda value: left + plot * min(value, scale_max) / scale_max
    out = [f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" '
           f'font-family="sans-serif" font-size="12">',
           f'<rect width="{width}" height="{height}" fill="white"/>',
           f'<text x="{width / 2}" y="20" text-anchor="middle" font-size="15">zal / raw libzmq or NNG, '
           f'median of {run_count} run{"s" if run_count != 1 else ""} (green: target, the tick, met)</text>']
    for tick in [t / 10 for t in range(0, int(scale_max * 10) + 1, 5)]:
        out.append(f'<line x1="{x(tick):.1f}" y1="{top - 8}" x2="{x(tick):.1f}" y2="{height - 40}" '
                   f'stroke="{"#444" if tick == 1.0 else "#ddd"}"/>')
        out.append(f'<text x="{x(tick):.1f}" y="{height - 25}" text-anchor="middle">{tick:.1f}</text>')
    for i, (label, ratio, target, better, _, _) in enumerate(rows):
        y = top + i * (bar_height + gap)
        colour = "#888" if target is None else "#3a7d44" if met(ratio, target, better) else "#c0392b"
        label += " (lower is better)" if better == "lower" else ""
        out.append(f'<text x="{left - 8}" y="{y + bar_height * 0.7:.1f}" text-anchor="end">{escape(label)}</text>')
        out.append(f'<rect x="{left}" y="{y}" width="{x(ratio) - left:.1f}" height="{bar_height}" fill="{colour}"/>')
        if target is not None:
            out.append(f'<line x1="{x(target):.1f}" y1="{y - 3}" x2="{x(target):.1f}" y2="{y + bar_height + 3}" '
                       f'stroke="black" stroke-width="3"/>')
        out.append(f'<text x="{x(ratio) + 5:.1f}" y="{y + bar_height * 0.7:.1f}">{ratio:.2f}</text>')
    out.append("</svg>")
    return "\n".join(out) + "\n"


def table(rows, runs, units):
    lines = ["| case | zal | raw or NNG | zal/other | target |", "|---|---:|---:|---:|---:|"]
    for label, ratio, target, better, zal, raw in rows:
        unit = units.get(next(row[1] for row in RATIOS if row[0] == label), "")
        digits = 1 if unit == "us" else 0
        if target is None:
            bound = "-"
        else:
            sign = ">=" if better == "higher" else "<="
            bound = f"{sign} {target} ({'met' if met(ratio, target, better) else '**missed**'})"
        lines.append(f"| {label} | {zal:,.{digits}f} {unit} | {raw:,.{digits}f} {unit} | {ratio:.2f} | {bound} |")
    lines += ["", "| zal alone | median | bound |", "|---|---:|---:|"]
    for label, key, bound in FIGURES:
        value = median_of(runs, key)
        if value is None:
            continue
        unit = "" if isinstance(key, tuple) else " " + units.get(key, "")
        verdict = ""
        if bound:
            verdict = " (met)" if value <= float(bound.split()[1]) else " (**missed**)"
        lines.append(f"| {label} | {value:,.2f}{unit} | {bound or ''}{verdict} |")
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
