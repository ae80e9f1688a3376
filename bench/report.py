#!/usr/bin/env python3
"""Prints the benchmarks' tables, and writes them into the page and the chart.

usage: report.py RESULTS.json [PAGE.md CHART.svg]

RESULTS.json is Google Benchmark's output. Without a page, the tables are only printed.
"""

import json
import statistics
import sys
from dataclasses import dataclass, replace
from pathlib import Path

BEGIN = "<!-- written by scripts/bench.sh: begin -->"
END = "<!-- written by scripts/bench.sh: end -->"


@dataclass
class Row:
    """Tarvik's figure and that of the best of some peers. A row without a goal is for comparison.

    A figure is a benchmark's time, named by the benchmark, or its counter, named as benchmark#counter."""

    work: str
    tarvik: str
    peers: list[str]
    goal: float | None
    unit: str = "time"


CALLS = {"first": "first", "again": "repeated"}


def rows_of_open(size: str, lenient: float) -> list[Row]:
    name = f"open_close/{size}"
    return [
        Row(f"open and close {size}", f"{name}#tarvik", [f"{name}#tinyxml2", f"{name}#libxml2"], 0.2),
        Row(f"open and close {size}, all kept but little checked", f"{name}#tarvik", [f"{name}#pugixml-full"], lenient),
        Row(f"open and close {size}, less kept and little checked", f"{name}#tarvik", [f"{name}#pugixml"], None),
        Row(f"open and close {size}, Expat alone", f"{name}#tarvik", [f"{name}#expat"], None),
    ]


def row_of_first_open(size: str, peers: list[str], goal: float) -> Row:
    name = f"open_first/{size}"
    suffix = ", Expat alone" if peers == ["expat"] else ""
    return Row(f"first opening of a process, {size}{suffix}", f"{name}#tarvik", [f"{name}#{peer}" for peer in peers], goal)


def row_of_text(work: str, text: str, goal: float) -> Row:
    return Row(f"{work}, 10MB, Expat alone", f"open_text/{text}#tarvik", [f"open_text/{text}#expat"], goal)


def row_of_memory(counter: str, meaning: str) -> Row:
    name = "held_memory/10MB"
    peers = [f"{name}/{peer}#{counter}" for peer in ("pugixml", "tinyxml2", "libxml2")]
    return Row(f"memory held by an open 10MB document, {meaning}", f"{name}/tarvik#{counter}", peers, 1.0, "bytes")


def rows_of_calls(work: str, name: str, peers: list[str], first: float, again: float) -> list[Row]:
    return [
        Row(work.format(call=shown), f"{name}/{call}/tarvik", [f"{name}/{peer}" for peer in peers], goal)
        for (call, shown), goal in zip(CALLS.items(), (first, again))
    ]


def rows_of_growth(work: str, name: str) -> list[Row]:
    return [
        Row(work.format(call=shown), f"{name}/10000/{call}/tarvik", [f"{name}/1000/{call}/tarvik"], 13.0)
        for call, shown in CALLS.items()
    ]


def row_of_log(call: str) -> Row:
    work = f"{call}, no sink against a sink that does nothing"
    return Row(work, f"log_cost/{call}/no-sink", [f"log_cost/{call}/sink"], None)


def row_of_saving(size: str, place: str, shown: str, goal: float) -> Row:
    name = f"set_and_save/{size}/{place}"
    return Row(f"set one item and save {size}, {shown}", f"{name}/tarvik", [f"{name}/pugixml"], goal)


HELD = "held_memory/10MB/tarvik"
ENTITY = "shape/an own entity referred to often, 15 bytes read/4n"
BLANKS = "shape/20 children created after white space/4n"

ROWS: list[Row] = [
    *rows_of_open("0.1MB", 1.0),
    *rows_of_open("1MB", 0.65),
    *rows_of_open("10MB", 0.55),
    row_of_first_open("0.1MB", ["expat"], 0.42),
    row_of_first_open("1MB", ["expat"], 0.35),
    row_of_first_open("10MB", ["expat"], 0.32),
    row_of_first_open("10MB", ["pugixml"], 0.5),
    row_of_first_open("10MB", ["tinyxml2", "libxml2"], 0.25),
    row_of_text("open mostly attributes", "attributes", 0.45),
    row_of_text("open mostly text", "text", 0.45),
    row_of_text("open mostly tags", "tags", 0.45),
    row_of_text("open Cyrillic", "cyrillic", 0.45),
    row_of_text("open Chinese", "chinese", 0.65),
    row_of_text("open a reference every few bytes", "references", 0.65),
    row_of_text("open a comment of dashes, brackets and tags", "comments", 0.85),
    row_of_text("open CDATA of brackets and tags", "cdata", 0.85),
    row_of_text("refuse what is malformed at its end", "malformed", 1.5),
    Row("open and close 1MB in ISO-8859-1 against UTF-8", "open_encoding/1MB#latin1", ["open_encoding/1MB#utf8"], None),
    row_of_memory("resident", "as it stands"),
    row_of_memory("needed", "what is free given back"),
    Row("memory held by an open 10MB document against its file", f"{HELD}#resident", [f"{HELD}#file"], 1.8, "bytes"),
    Row("most memory while it is opened against what is held", f"{HELD}#most", [f"{HELD}#resident"], 1.1, "bytes"),
    Row("bytes held for each of a million distinct names", "distinct_names#more", ["distinct_names#names"], 60, "count"),
    Row("most memory for an own entity referred to often, against the file", f"{ENTITY}#most", [f"{ENTITY}#file"], 4.0,
        "bytes"),
    Row("the file after 20 children were created after 1MB of white space, against before", f"{BLANKS}#after", [f"{BLANKS}#file"],
        1.1, "bytes"),
    Row("GetXMLItem of a known group, XPath from the root", "read_item/tarvik",
        ["read_item/pugixml-xpath-from-root"], 0.2),
    Row('GetXMLItem of a known group, XPath from its node', "read_item/tarvik",
        ["read_item/pugixml-xpath-from-node"], None),
    Row("groups and items beyond ASCII against ASCII, UTF-8 locale, after opening", "utf8_locale/beyond-ascii", ["utf8_locale/ascii"],
        1.2),
    *rows_of_calls("GetFileList of 1000 files, {call} call, XPath item by item", "file_list/1000",
                   ["pugixml-xpath", "libxml2-xpath"], 0.1, 0.1),
    *rows_of_calls("GetFileList of 1000 files, {call} call, hand-written loop", "file_list/1000", ["pugixml-hand"], 5.0, 5.0),
    *rows_of_growth("GetFileList of 10000 files against 1000, {call} call", "file_list"),
    *rows_of_calls("EnumDetectionInfo over 1000 packages, {call} walk, hand-written loop", "detection_walk/1000",
                   ["pugixml-hand"], 8.0, 8.0),
    *rows_of_calls("EnumDetectionInfo over 10000 packages, {call} walk, hand-written loop", "detection_walk/10000",
                   ["pugixml-hand"], 8.0, 8.0),
    *rows_of_growth("EnumDetectionInfo over 10000 packages against 1000, {call} walk", "detection_walk"),
    row_of_saving("0.1MB", "disk", "on disk", 1.0),
    row_of_saving("0.1MB", "memory", "files in memory", 0.3),
    row_of_saving("10MB", "memory", "files in memory", 0.35),
    Row("set one item and save 10MB that another program changed, files in memory", "merge/10MB/memory/tarvik",
        ["merge/10MB/memory/pugixml"], 1.0),
    *(row_of_log(call) for call in ("OpenXML and CloseXML", "OpenXMLGroup", "GetXMLItem", "GetFileList")),
]

GROWTH_GOAL = 6.0  # for four times the size


class Results:
    """What each benchmark's repetitions came to: nanoseconds, or what its counters hold."""

    UNITS = {"ns": 1.0, "us": 1e3, "ms": 1e6, "s": 1e9}

    def __init__(self, path: str):
        results = json.loads(Path(path).read_text())
        self.context = results["context"]
        self.runs: dict[str, list[dict]] = {}
        for run in results["benchmarks"]:
            if run["run_type"] == "iteration":
                self.runs.setdefault(self.plain_name(run["name"]), []).append(run)

    @staticmethod
    def plain_name(name: str) -> str:
        """The name as it was registered, without what Google Benchmark appends."""
        kept = [part for part in name.split("/") if part not in ("manual_time", "real_time")]
        return "/".join(part for part in kept if not part.startswith(("iterations:", "repeats:")))

    def figure(self, name: str, unit: str) -> float | None:
        """The least time, since what else the machine does can only add to it; of saving and all else, the median."""
        benchmark, _, counter = name.partition("#")
        runs = self.runs.get(benchmark)
        if not runs:
            return None
        if counter:
            values = [run[counter] for run in runs]
            return min(values) * self.UNITS["s"] if unit == "time" else statistics.median(values)
        clock = self.clock(runs[0]["name"])
        pick = min if clock == "cpu_time" else statistics.median
        return pick(run[clock] * self.UNITS[run["time_unit"]] for run in runs)

    @staticmethod
    def clock(name: str) -> str:
        """Processor time, which other programs on the machine disturb least, but where a disk is waited for."""
        return "real_time" if name.endswith(("/manual_time", "/real_time")) else "cpu_time"

    def repetitions(self) -> int:
        return max(len(runs) for runs in self.runs.values())

    def shapes(self) -> list[str]:
        return sorted(name.removesuffix("/4n") for name in self.runs if name.startswith("shape/") and name.endswith("/4n"))


@dataclass
class Line:
    work: str
    tarvik: float
    peer: float
    peer_name: str
    goal: float | None
    unit: str

    @property
    def ratio(self) -> float:
        return self.tarvik / self.peer

    @property
    def met(self) -> str:
        if self.goal is None:
            return ""
        return "yes" if round(self.ratio, 2) <= self.goal else "NO"

    def cells(self) -> list[str]:
        goal = "" if self.goal is None else f"{self.goal:g}"
        shown = [show(value, self.unit) for value in (self.tarvik, self.peer)]
        return [self.work, shown[0], shown[1], self.peer_name, f"{self.ratio:.3g}", goal, self.met]


@dataclass
class Growth:
    """Work on a document of some shape, and on one of four times its size."""

    shape: str
    time: Line
    memory: Line

    @property
    def worse(self) -> Line:
        return max(self.time, self.memory, key=lambda line: line.ratio)

    def cells(self) -> list[str]:
        cells = [self.shape]
        for line in (self.time, self.memory):
            cells += [show(line.peer, line.unit), show(line.tarvik, line.unit), f"{line.ratio:.3g}"]
        return [*cells, f"{GROWTH_GOAL:g}", self.worse.met]


def show(value: float, unit: str) -> str:
    if unit == "count":
        return f"{value / 1e6:.1f} M"
    if unit == "bytes":
        return f"{value / 1e6:.1f} MB"
    for name, size in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if value >= size:
            return f"{value / size:.3g} {name}"
    return f"{value:.3g} ns"


def lines_of(results: Results) -> list[Line]:
    lines = []
    for row in ROWS:
        tarvik = results.figure(row.tarvik, row.unit)
        peers = {name: value for name in row.peers if (value := results.figure(name, row.unit)) is not None}
        if tarvik is None or len(peers) != len(row.peers):
            # Where the system has no files in memory there is nothing to show; all else must be there.
            if "/memory/" in row.tarvik:
                continue
            raise SystemExit(f"report.py: no result for {row.tarvik} or one of {', '.join(row.peers)}")
        best = min(peers, key=peers.get)
        label = best.replace("#", "/").rsplit("/", 1)[1]
        lines.append(Line(row.work, tarvik, peers[best], "itself" if label == "tarvik" else label, row.goal, row.unit))
    return lines


def growths_of(results: Results) -> list[Growth]:
    def line(shape: str, counter: str, unit: str) -> Line:
        small, large = (results.figure(f"{shape}/{size}#{counter}", unit) for size in ("n", "4n"))
        return Line(shape, large, small, "itself", GROWTH_GOAL, unit)

    return [
        Growth(shape.removeprefix("shape/"), line(shape, "seconds", "time"), line(shape, "most", "bytes"))
        for shape in results.shapes()
    ]


HEAD = ["work", "Tarvik", "peer", "which", "ratio", "goal", "met"]
LEFT = {"work", "which", "met", "shape"}
GROWTH_HEAD = ["shape", "time at n", "at 4n", "ratio", "memory at n", "at 4n", "ratio", "goal", "met"]


def as_markdown(head: list[str], lines: list) -> str:
    table = [head, ["---" if title in LEFT else "--:" for title in head], *(line.cells() for line in lines)]
    return "\n".join("| " + " | ".join(cells) + " |" for cells in table)


def as_text(head: list[str], lines: list) -> str:
    table = [head, *(line.cells() for line in lines)]
    widths = [max(len(cells[column]) for cells in table) for column in range(len(head))]
    return "\n".join(
        "  ".join(cell.ljust(width) if title in LEFT else cell.rjust(width)
                  for title, cell, width in zip(head, cells, widths)).rstrip()
        for cells in table
    )


def as_chart(lines: list[Line]) -> str:
    """Bars of Tarvik's share of what each goal allows: what ends left of the line meets its goal."""
    shown = [line for line in lines if line.goal is not None]
    bars, bar_width, most, row_height, top = 470, 380, 1.25, 22, 56
    width, height = bars + bar_width + 60, top + row_height * len(shown) + 16

    def place(share: float) -> float:
        return bars + bar_width * min(share, most) / most

    def line_at(share: float, color: str) -> str:
        x = place(share)
        return f'<line x1="{x:.1f}" y1="{top - 8}" x2="{x:.1f}" y2="{height - 12}" stroke="{color}"/>'

    title = "What Tarvik takes, as a share of what its goals allow"
    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" viewBox="0 0 {width} {height}" '
        'font-family="sans-serif" font-size="12" role="img" aria-labelledby="title">',
        f'<title id="title">{title}</title>',
        f'<rect width="{width}" height="{height}" fill="#ffffff"/>',
        f'<text x="12" y="22" font-size="15" font-weight="bold" fill="#1f2328">{title}</text>',
    ]
    for share in (0.25, 0.5, 0.75, 1.0, 1.25):
        label = "1 = goal" if share == 1.0 else f"{share:g}"
        parts.append(line_at(share, "#d8dee4"))
        parts.append(f'<text x="{place(share):.1f}" y="{top - 14}" text-anchor="middle" fill="#656d76">{label}</text>')
    for index, line in enumerate(shown):
        y = top + row_height * index
        share = line.ratio / line.goal
        color = "#1f6feb" if line.met == "yes" else "#cf222e"
        label = line.work.replace("&", "&amp;")
        length = place(share) - bars
        parts.append(f'<text x="{bars - 10}" y="{y + 15}" text-anchor="end" fill="#1f2328">{label}</text>')
        parts.append(f'<rect x="{bars}" y="{y + 3}" width="{length:.1f}" height="15" fill="{color}"/>')
        parts.append(f'<text x="{bars + bar_width + 10}" y="{y + 15}" fill="#1f2328">{share:.2f}</text>')
    return "\n".join([*parts, line_at(1.0, "#1f2328"), "</svg>", ""])


def write_page(path: str, tables: str, results: Results) -> None:
    text = Path(path).read_text()
    begin, end = text.find(BEGIN), text.find(END)
    if begin < 0 or end < begin:
        raise SystemExit(f"report.py: {path} has no place for the table")
    context = results.context
    measured = (
        f"Measured on {context['date'][:10]} on {context['num_cpus']} processors at {context['mhz_per_cpu']} MHz, with a "
        f"load of {context['load_avg'][0]:.1f} when it began.\nOf {results.repetitions()} repetitions, times are "
        "the least; memory, and the elapsed time of saving, are the median."
    )
    Path(path).write_text(f"{text[:begin]}{BEGIN}\n{measured}\n\n{tables}\n{text[end:]}")


def main(arguments: list[str]) -> None:
    if len(arguments) not in (1, 3):
        raise SystemExit(__doc__)
    results = Results(arguments[0])
    lines, growths = lines_of(results), growths_of(results)
    print(as_text(HEAD, lines), as_text(GROWTH_HEAD, growths), sep="\n\n")
    if len(arguments) == 3:
        tables = as_markdown(HEAD, lines) + "\n\n" + as_markdown(GROWTH_HEAD, growths)
        write_page(arguments[1], tables, results)
        worse = [replace(growth.worse, work=f"4 times: {growth.shape}") for growth in growths]
        Path(arguments[2]).write_text(as_chart([*lines, *worse]))


if __name__ == "__main__":
    main(sys.argv[1:])
