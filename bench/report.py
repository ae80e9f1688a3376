#!/usr/bin/env python3
"""Makes the table of the benchmarks, and the page and the chart that show it.

usage: report.py RESULTS.json [PAGE.md CHART.svg]

RESULTS.json is what Google Benchmark wrote. Without a page, the table is only printed.
"""

import json
import statistics
import sys
from dataclasses import dataclass
from pathlib import Path

BEGIN = "<!-- written by scripts/bench.sh: begin -->"
END = "<!-- written by scripts/bench.sh: end -->"


@dataclass
class Row:
    """A work of Tarvik against the best of some peers; with no goal it is shown for comparison only."""

    work: str
    tarvik: str
    peers: list[str]
    goal: float | None
    quantity: str = "time"


def rows_of_open(size: str) -> list[Row]:
    name = f"open_close/{size}"
    peers = [f"{name}/tinyxml2", f"{name}/libxml2"]
    return [
        Row(f"open and close {size}", f"{name}/tarvik", peers, 1.0),
        Row(f"open and close {size}, ill-formed files accepted", f"{name}/tarvik", [f"{name}/pugixml"], None),
    ]


def rows_of_memory(quantity: str, meaning: str) -> Row:
    name = "held_memory/10MB"
    peers = [f"{name}/{peer}" for peer in ("pugixml", "tinyxml2", "libxml2")]
    return Row(f"memory held by an open 10MB document, {meaning}", f"{name}/tarvik", peers, 1.0, quantity)


def rows_of_growth(work: str, name: str, small: int, large: int, goal: float) -> list[Row]:
    return [
        Row(f"{work}, {large} against {small}, {call} call", f"{name}/{large}/{call}/tarvik",
            [f"{name}/{small}/{call}/tarvik"], goal)
        for call in ("first", "again")
    ]


def rows_of_log(call: str) -> Row:
    return Row(f"{call}, no sink against a sink that does nothing", f"log_cost/{call}/no-sink", [f"log_cost/{call}/sink"], None)


ROWS: list[Row] = [
    *rows_of_open("0.1MB"),
    *rows_of_open("1MB"),
    *rows_of_open("10MB"),
    rows_of_memory("resident", "as it stands"),
    rows_of_memory("needed", "what is free given back"),
    Row("GetXMLItem of a known group, XPath from the root", "read_item/tarvik", ["read_item/pugixml-xpath-from-root"], 0.33),
    Row("GetXMLItem of a known group, XPath \"ProductID\" from the node", "read_item/tarvik",
        ["read_item/pugixml-xpath-from-node"], None),
    *(
        Row(f"GetFileList of 1000 files, {call} call, XPath item by item", f"file_list/1000/{call}/tarvik",
            ["file_list/1000/pugixml-xpath", "file_list/1000/libxml2-xpath"], 0.1)
        for call in ("first", "again")
    ),
    *(
        Row(f"GetFileList of 1000 files, {call} call, loop by hand", f"file_list/1000/{call}/tarvik",
            ["file_list/1000/pugixml-hand"], 10.0)
        for call in ("first", "again")
    ),
    *rows_of_growth("GetFileList", "file_list", 1000, 10000, 13.0),
    *(
        Row(f"EnumDetectionInfo over {packages} packages, {call} walk, loop by hand", f"detection_walk/{packages}/{call}/tarvik",
            [f"detection_walk/{packages}/pugixml-hand"], 20.0)
        for packages in (1000, 10000)
        for call in ("first", "again")
    ),
    *rows_of_growth("EnumDetectionInfo", "detection_walk", 1000, 10000, 13.0),
    Row("set one item and save 0.1MB, on disk", "set_and_save/0.1MB/disk/tarvik", ["set_and_save/0.1MB/disk/pugixml"], 1.0),
    Row("set one item and save 0.1MB, files in memory", "set_and_save/0.1MB/memory/tarvik",
        ["set_and_save/0.1MB/memory/pugixml"], 1.0),
    *(rows_of_log(call) for call in ("OpenXML and CloseXML", "OpenXMLGroup", "GetXMLItem", "GetFileList")),
]


class Results:
    """The median of each benchmark's repetitions: nanoseconds of processor time, or bytes."""

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

    def median(self, name: str, quantity: str) -> float | None:
        runs = self.runs.get(name)
        if not runs:
            return None
        if quantity != "time":
            return statistics.median(run[quantity] for run in runs)
        return statistics.median(run[self.clock(run["name"])] * self.UNITS[run["time_unit"]] for run in runs)

    @staticmethod
    def clock(name: str) -> str:
        """Processor time, which other programs on the machine disturb least, but where a disk is waited for."""
        return "real_time" if name.endswith(("/manual_time", "/real_time")) else "cpu_time"

    def repetitions(self) -> int:
        return max(len(runs) for runs in self.runs.values())


@dataclass
class Line:
    row: Row
    tarvik: float
    peer: float
    peer_name: str

    @property
    def ratio(self) -> float:
        return self.tarvik / self.peer

    @property
    def met(self) -> str:
        if self.row.goal is None:
            return ""
        return "yes" if self.ratio <= self.row.goal else "NO"

    def cells(self) -> list[str]:
        goal = "" if self.row.goal is None else f"{self.row.goal:g}"
        shown = [show(value, self.row.quantity) for value in (self.tarvik, self.peer)]
        return [self.row.work, shown[0], shown[1], self.peer_name, f"{self.ratio:.3g}", goal, self.met]


def show(value: float, quantity: str) -> str:
    if quantity != "time":
        return f"{value / 1e6:.1f} MB"
    for unit, size in (("s", 1e9), ("ms", 1e6), ("µs", 1e3)):
        if value >= size:
            return f"{value / size:.3g} {unit}"
    return f"{value:.3g} ns"


def lines_of(results: Results) -> list[Line]:
    lines = []
    for row in ROWS:
        tarvik = results.median(row.tarvik, row.quantity)
        peers = {name: value for name in row.peers if (value := results.median(name, row.quantity)) is not None}
        if tarvik is None or len(peers) != len(row.peers):
            # Where the system has no files in memory there is nothing to show; all else must be there.
            if "/memory/" in row.tarvik:
                continue
            raise SystemExit(f"report.py: no result for {row.tarvik} or one of {', '.join(row.peers)}")
        best = min(peers, key=peers.get)
        label = best.rsplit("/", 1)[1]
        if label == "tarvik":
            label = "itself"
        lines.append(Line(row, tarvik, peers[best], label))
    return lines


HEAD = ["work", "Tarvik", "peer", "which", "ratio", "goal", "met"]


def as_markdown(lines: list[Line]) -> str:
    table = [HEAD, ["---", "--:", "--:", "---", "--:", "--:", "---"], *(line.cells() for line in lines)]
    return "\n".join("| " + " | ".join(cells) + " |" for cells in table)


def as_text(lines: list[Line]) -> str:
    table = [HEAD, *(line.cells() for line in lines)]
    widths = [max(len(cells[column]) for cells in table) for column in range(len(HEAD))]
    left = {0, 3, 6}
    return "\n".join(
        "  ".join(cell.ljust(width) if column in left else cell.rjust(width)
                  for column, (cell, width) in enumerate(zip(cells, widths))).rstrip()
        for cells in table
    )


def as_chart(lines: list[Line]) -> str:
    """Bars of Tarvik's share of what the goal allows, on a logarithmic scale: what ends left of the line meets its goal."""
    shown = [line for line in lines if line.row.goal is not None]
    label_width, bar_width, row_height, top = 440, 330, 22, 56
    decades = (-3, 1)
    height = top + row_height * len(shown) + 20
    width = label_width + bar_width + 130

    def place(share: float) -> float:
        from math import log10

        clamped = min(max(log10(share), decades[0]), decades[1])
        return label_width + bar_width * (clamped - decades[0]) / (decades[1] - decades[0])

    parts = [
        f'<svg xmlns="http://www.w3.org/2000/svg" width="{width}" height="{height}" viewBox="0 0 {width} {height}" '
        'font-family="sans-serif" font-size="12" role="img" aria-labelledby="title">',
        '<title id="title">What Tarvik takes, as a share of what its goals allow</title>',
        f'<rect width="{width}" height="{height}" fill="#ffffff"/>',
        '<text x="12" y="22" font-size="15" font-weight="bold" fill="#1f2328">What Tarvik takes, as a share of what its '
        "goals allow (logarithmic; 1 is the goal)</text>",
    ]
    for decade in range(decades[0], decades[1] + 1):
        x = place(10.0**decade)
        parts.append(f'<line x1="{x:.1f}" y1="{top - 8}" x2="{x:.1f}" y2="{height - 16}" stroke="#d8dee4"/>')
        parts.append(f'<text x="{x:.1f}" y="{top - 14}" text-anchor="middle" fill="#656d76">{10.0**decade:g}</text>')
    for index, line in enumerate(shown):
        y = top + row_height * index
        share = line.ratio / line.row.goal
        color = "#1f6feb" if share <= 1 else "#cf222e"
        label = line.row.work.replace("&", "&amp;").replace('"', "&quot;")
        end = place(share)
        parts.append(f'<text x="{label_width - 10}" y="{y + 14}" text-anchor="end" fill="#1f2328">{label}</text>')
        parts.append(f'<rect x="{label_width}" y="{y + 3}" width="{end - label_width:.1f}" height="15" fill="{color}"/>')
        parts.append(f'<text x="{end + 6:.1f}" y="{y + 15}" fill="#1f2328">{share:.2g}</text>')
    x = place(1.0)
    parts.append(f'<line x1="{x:.1f}" y1="{top - 8}" x2="{x:.1f}" y2="{height - 16}" stroke="#1f2328" stroke-width="1.5"/>')
    return "\n".join([*parts, "</svg>", ""])


def write_page(path: str, table: str, results: Results) -> None:
    text = Path(path).read_text()
    begin, end = text.find(BEGIN), text.find(END)
    if begin < 0 or end < begin:
        raise SystemExit(f"report.py: {path} has no place for the table")
    context = results.context
    measured = (
        f"Measured on {context['date'][:10]} on {context['num_cpus']} processors at {context['mhz_per_cpu']} MHz; each figure "
        f"is the median of {results.repetitions()} repetitions. Times are processor time; those of saving are elapsed time."
    )
    Path(path).write_text(f"{text[:begin]}{BEGIN}\n{measured}\n\n{table}\n{text[end:]}")


def main(arguments: list[str]) -> None:
    if len(arguments) not in (1, 3):
        raise SystemExit(__doc__)
    results = Results(arguments[0])
    lines = lines_of(results)
    print(as_text(lines))
    if len(arguments) == 3:
        write_page(arguments[1], as_markdown(lines), results)
        Path(arguments[2]).write_text(as_chart(lines))


if __name__ == "__main__":
    main(sys.argv[1:])
