"""Tables in Markdown, and all numbers in JSON, of what was measured."""

import json


def figure(spread, form):
    return f"{spread['median']:{form}} ({spread['least']:{form}} to {spread['most']:{form}})"


def table(result):
    ours = next(iter(result["contestants"]))
    lines = [f"| {result['title']}, {result['where']} | seconds | CPU seconds | peak KiB | bytes an entry "
             f"| {ours} takes, times this |",
             "|---|---|---|---|---|---|"]
    for name, of in result["contestants"].items():
        ratio = "" if name == ours else figure(of["ratio"], ".2f")
        lines.append(f"| {name} | {figure(of['seconds'], '.3f')} | {of['cpu']['median']:.2f} | "
                     f"{of['KiB']['median']:,.0f} | {1024 * of['KiB']['median'] / result['entries']:,.0f} "
                     f"| {ratio} |")
    return "\n".join(lines) + "\n"


def markdown(measured):
    machine = measured["machine"]
    head = (f"{machine['date']}, {machine['processors']} x {machine['processor']}, Linux {machine['kernel']}, load "
            f"{machine['load']:.1f} at the beginning and {machine['loadAfter']:.1f} at the end. Medians of "
            f"{measured['repetitions']} rounds (least to most).\n")
    return "\n".join([head, *(table(result) for result in measured["results"])])


def write(measured, folder):
    (folder / "share.json").write_text(json.dumps(measured, indent=1) + "\n")
    (folder / "share.md").write_text(markdown(measured))
