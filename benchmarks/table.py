"""Turns the results of zeb-bench (JSON) and zeb-peaks (lines) into tables in Markdown.

Usage: table.py times <zeb-bench's JSON>
       table.py growth <zeb-bench's JSON> <the same of a process that keeps freed memory>
       table.py peaks <zeb-peaks' lines>
"""

import json
import os
import re
import sys

UNITS = {"ns": 1, "us": 1e3, "ms": 1e6, "s": 1e9}
NOT_WORKS = {"date", "host_name", "executable", "num_cpus", "mhz_per_cpu", "cpu_scaling_enabled",
             "caches", "load_avg", "library_build_type", "compiler"}
LIBRARY = "library"

# Highest resident memory allowed, as a multiple of the input and of the output.
PEAKS = {"realSed": (3.0, 0.0), "convertToUTF8": (1.1, 1.1), "unprivilegedSed": (1.1, 1.1)}


def machine(context):
    """One line on what the figures were taken on."""
    model = "unknown processor"
    with open("/proc/cpuinfo", encoding="ascii") as info:
        for line in info:
            if line.startswith("model name"):
                model = line.split(":", 1)[1].strip()
                break
    libc = os.confstr("CS_GNU_LIBC_VERSION")
    load = context["load_avg"][0] if context["load_avg"] else 0
    return (f"{model}, {context['num_cpus']} processors, {libc}, compiler {context['compiler']}, "
            f"load {load:.2f} at the start")


def duration(nanoseconds):
    for unit in ("ns", "us", "ms"):
        if nanoseconds < 1000:
            break
        nanoseconds /= 1000
    else:
        unit = "s"
    return f"{nanoseconds:.3g} {unit}" if nanoseconds < 1000 else f"{nanoseconds:.0f} {unit}"


def read_times(results):
    """{work: {contestant: (median ns, spread in %)}}, threads counted into the contestant's name."""
    times = {}
    for entry in results["benchmarks"]:
        if entry.get("error_occurred"):
            sys.exit(f"table.py: {entry['name']}: {entry['error_message']}")
        if entry.get("aggregate_name") not in ("median", "cv"):
            continue
        work, contestant = entry["run_name"].split("/", 1)
        contestant = re.sub(r"/real_time|/iterations:\d+", "", contestant)
        record = times.setdefault(work, {}).setdefault(contestant, {})
        if entry["aggregate_name"] == "median":
            seconds = entry.get("processor_seconds", entry["cpu_time"] * UNITS[entry["time_unit"]] / 1e9)
            record["ns"] = seconds * 1e9
            record["bytes_per_second"] = entry["bytes"] / seconds if "bytes" in entry else None
            record["items_per_second"] = entry.get("items_per_second")
            record["page_faults"] = entry.get("page_faults")
        else:
            record["spread"] = 100 * entry.get("processor_seconds", entry["cpu_time"])
    return times


def print_table(heading, explanation, columns, rows):
    """A table whose first two columns are texts and the others figures; nothing without rows."""
    if not rows:
        return
    print(f"\n### {heading}\n\n{explanation}\n")
    for line in [columns, ["---", "---"] + ["--:"] * (len(columns) - 2), *rows]:
        print("| " + " | ".join(line) + " |")


def told_aims(aims, ratios, own):
    """For each (contestant, factor), whether the library, which takes `own` ns, is as fast as that."""
    told = []
    for contestant, factor in aims:
        if contestant == LIBRARY:
            told.append(f"at most {factor:g} ms: " + ("met" if own <= factor * 1e6 else "MISSED"))
            continue
        ratio = min(ratios.values(), default=None) if contestant == "*" else ratios.get(contestant)
        name = "the best" if contestant == "*" else contestant
        verdict = "skipped" if ratio is None else "met" if ratio >= factor else f"MISSED by {factor - ratio:.2f}"
        told.append(f"{factor:.2f} of {name}: {verdict}")
    return "; ".join(told)


def print_works(times, works):
    rows = []
    for work, (title, aims) in works.items():
        if "@" in work or LIBRARY not in times.get(work, {}):
            continue
        own = times[work][LIBRARY]
        if any("/threads:" in name for name in times[work]):
            continue
        ratios = {name: record["ns"] / own["ns"] for name, record in times[work].items() if name != LIBRARY}
        rate = f"{own['bytes_per_second'] / 1e6:.0f} MB/s" if own["bytes_per_second"] else ""
        others = ", ".join(f"{name} {ratio:.2f}" for name, ratio in sorted(ratios.items(), key=lambda pair: pair[1]))
        rows.append([work, code(title), f"{duration(own['ns'])} ±{own['spread']:.0f} %", rate, others,
                     told_aims(aims, ratios, own["ns"])])
    print_table("Times",
                "Processor time of the library, its spread, its throughput; the time of each peer as a multiple of\n"
                "the library's (above 1 the library is faster); the multiples aimed at.",
                ["", "Work", "Library", "Throughput", "Others", "Aim"], rows)


def print_threads(times, works):
    rows = []
    for work in sorted(works):
        rates = {int(name.rsplit(":", 1)[1]): record["items_per_second"]
                 for name, record in times.get(work, {}).items() if "/threads:" in name}
        if rates:
            rows.append([work, works[work][0], f"{rates[1] / 1e3:.0f}", f"{rates[2] / rates[1]:.2f}"])
    print_table("Threads",
                "Thousands of calls per second of one thread, and of two threads together as a multiple of that.",
                ["", "Work", "One thread", "Two threads"], rows)


def print_peaks(path):
    rows = []
    with open(path, encoding="ascii") as lines:
        for line in lines:
            work, title, *sizes = line.rstrip("\n").split("\t")
            given, result, peak = (int(size) for size in sizes)
            aim = ""
            function = re.match(r"\w+", title).group()
            if function in PEAKS:
                of_input, of_output = PEAKS[function]
                limit = of_input * given + of_output * result
                verdict = "met" if peak <= limit else "MISSED"
                aim = f"{limit / 1e6:.0f}: {verdict}"
            rows.append([work, code(title), *(f"{size / 1e6:.1f}" for size in (given, result, peak)),
                         f"{peak / given:.2f}", aim])
    print_table("Memory", "The peak during a call, input included, in MB and as a multiple of the input; the limit aimed at.",
                ["", "Work", "Input", "Output", "Peak", "Multiple", "Aim"], rows)


def code(title):
    """Keeps commands from being read as Markdown."""
    # An s command may contain blanks.
    return re.sub(r"(\bs/[^/]*/[^/]*/\w*|\S*/\S*/\S*)", lambda found: "`" + found.group().replace("|", "\\|") + "`", title)


def read_results(path):
    """The context of zeb-bench's results, the times, and {work: (title, [(contestant, factor aimed at)])}."""
    with open(path, encoding="utf-8") as file:
        results = json.load(file)
    context = results["context"]
    works = {}
    for work in sorted(set(context) - NOT_WORKS):
        title, *aims = context[work].split("\t")
        works[work] = (title, list(zip(aims[::2], map(float, aims[1::2]))))
    return context, read_times(results), works


def print_times(path):
    context, times, works = read_results(path)
    print(machine(context))
    print_works(times, works)
    print_threads(times, works)


def growth(times, work):
    """The library's record and cost of a byte at the three sizes of `work`."""
    sizes = (times[name][LIBRARY] for name in (work + "@1", work + "@10", work))
    return [(size, 1e9 / size["bytes_per_second"]) for size in sizes]


def quotient(sizes):
    return f"{sizes[2][1] / sizes[0][1]:.2f}"


def print_growth(path, kept_path):
    context, times, works = read_results(path)
    _, kept, _ = read_results(kept_path)
    rows = []
    for work in sorted({work.split("@")[0] for work in times}):
        sizes = growth(times, work)
        rows.append([work, code(works[work][0]), *(f"{cost:.3f}" for _, cost in sizes), quotient(sizes),
                     *(f"{sizes[i][0]['page_faults']:.0f}" for i in (0, 2)), quotient(growth(kept, work))])
    print_table("Growth",
                "Nanoseconds for each byte at 1, 10 and 100 times a size, and the last divided by the first: 1 when the\n"
                "cost grows as the input does. Then the page faults of one run, each a page of memory that the kernel\n"
                "had to clear, and the quotient of another process, whose libc keeps its memory.\n\n" +
                machine(context),
                ["", "Work", "x 1", "x 10", "x 100", "Quotient", "Faults x 1", "Faults x 100",
                 "Quotient, memory kept"], rows)


{"times": print_times, "growth": print_growth, "peaks": print_peaks}[sys.argv[1]](*sys.argv[2:])
