"""Tables in Markdown, all numbers in JSON, and a picture, of what was measured."""

import json
import subprocess


def figure(spread, form):
    return f"{spread['median']:{form}} ({spread['least']:{form}} to {spread['most']:{form}})"


def table(result):
    ours = next(iter(result["contestants"]))
    lines = [f"| {result['title']}, {result['where']} | seconds | CPU seconds | peak KiB | {ours} takes, times this |",
             "|---|---|---|---|---|"]
    for name, of in result["contestants"].items():
        ratio = "" if name == ours else figure(of["ratio"], ".2f")
        lines.append(f"| {name} | {figure(of['seconds'], '.3f')} | {of['cpu']['median']:.2f} | "
                     f"{of['KiB']['median']:,.0f} | {ratio} |")
    return "\n".join(lines) + "\n"


def markdown(measured):
    machine = measured["machine"]
    head = (f"{machine['date']}, {machine['processors']} x {machine['processor']}, Linux {machine['kernel']}, load "
            f"{machine['load']:.1f} at the beginning and {machine['loadAfter']:.1f} at the end. Medians of "
            f"{measured['repetitions']} rounds (least to most).\n")
    return "\n".join([head, *(table(result) for result in measured["results"])])


def plot(measured, folder):
    """The time of each who copies, as a multiple of that of cp."""
    copying = [result for result in measured["results"] if "cp" in result["contestants"] and result["tree"] != "empty"]
    names = ["share", "cp", "rsync", "tar", "git"]
    rows = [" ".join(["tree", *names])]
    for result in copying:
        of = result["contestants"]
        times = [f"{of[n]['seconds']['median'] / of['cp']['seconds']['median']:.3f}" if n in of else "?" for n in names]
        rows.append(" ".join([f'"{result["tree"]}, {result["where"]}"', *times]))
    (folder / "share.data").write_text("\n".join(rows) + "\n")
    script = (f"set terminal svg size 900,400 background 'white'; set output '{folder}/share.svg'\n"
              "set style data histogram; set style histogram clustered gap 1; set style fill solid 0.8\n"
              "set datafile missing '?'; set key top left autotitle columnhead; set yrange [0:*]; set grid ytics\n"
              "set ylabel 'time, of that of cp -a'\n"
              f"plot for [i=2:{len(names) + 1}] '{folder}/share.data' using i:xtic(1)\n")
    subprocess.run(["gnuplot"], input=script.encode(), check=True)


def write(measured, folder):
    (folder / "share.json").write_text(json.dumps(measured, indent=1) + "\n")
    (folder / "share.md").write_text(markdown(measured))
    plot(measured, folder)
