#!/usr/bin/env python3
"""The operation reference's examples, answered by a running daemon.

Every page of docs/api holds its examples as blocks

    <!-- example NAME user=USER [mask=ELEMENT,...] [keep=ELEMENT:N]
         [wait=PATH] -->
    ```xml
    request envelope (SOAP 1.2)
    ```
    ```xml
    the daemon's response
    ```
    <!-- /example -->

The request is the source; the response is written by this script. It
starts a private store made from the sample seed, nginx and wsgated on
127.0.0.1 (the end-to-end tests' harness), writes the demo's log history
with a fixed random seed and end time and the demo's waveform records,
then sends every request of every page, pages in name order and examples
in page order, as the example's user, against the one store: a page may
show a write and then the read that sees it.

    api_examples.py --update [PAGE...]   write the responses into the pages
    api_examples.py --check [PAGE...]    exit 1 when a response differs

--check compares after masking what moves from run to run: device times
(16-digit microsecond counts), ISO 8601 times, and the text of the
elements an example names with mask=. keep=data:6 shows only the first
six `data` elements of a long answer and a comment counting the others.
wait=PATH sends the request only once the store holds PATH: an answer a
card process writes (the command handler's, say), waited for with the
harness's hang guard.

The trend log is back-filled by card-trends with a fixed end, and the
command handler card-commands runs beside the daemon.

The built programs are found as the end-to-end tests find them (WSGATED_BIN,
CDSCTL_BIN, LOG_HISTORY_BIN, WAVECTL_BIN, WSGATED_WSDL,
WSGATED_LOCALE_BUILD), else in BUILD_DIR (default ./build).

Two more checks keep the reference honest: the Python snippets of
clients.md run, as one program, against the same stack and must end
without an error; and README.md's table of error codes must be the
daemon's own (common/bnws_error.cc).
"""

import argparse
import difflib
import glob
import os
import re
import subprocess
import sys

ROOT = os.path.dirname(os.path.dirname(os.path.abspath(__file__)))
# End of the log history: 2026-11-20 00:00 UTC, so every run has the same
# records at the same times.
HISTORY_END = "1795132800"
EXAMPLE = re.compile(
    r"(?P<head><!-- example (?P<name>\S+) user=(?P<user>\w+)"
    r"(?: mask=(?P<mask>[\w,]+))?(?: keep=(?P<keep>\w+):(?P<count>\d+))?"
    r"(?: wait=(?P<wait>\S+))? -->\n"
    r"```xml\n(?P<request>.*?)\n```\n)"
    r"(?:```xml\n(?P<response>.*?)\n```\n)?"
    r"(?P<tail><!-- /example -->)", re.S)
DEVICE_TIME = re.compile(r"\b1\d{15}\b")
ISO_TIME = re.compile(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d(?:\.\d+)?Z?")


def use_build(build):
    """Programs from the build folder unless the environment names them."""
    defaults = {
        "WSGATED_BIN": "host/wsgated", "CDSCTL_BIN": "tools/cdsctl/cdsctl",
        "LOG_HISTORY_BIN": "tools/history/log-history",
        "WAVECTL_BIN": "tools/waveforms/wavectl",
        "CARD_TRENDS_BIN": "card/trends/card-trends",
        "WSGATED_CARD_COMMANDS_BIN": "card/commands/card-commands",
        "WSGATED_WSDL": "contract/wsgated.wsdl",
        "WSGATED_LOCALE_BUILD": "locale"}
    for variable, relative in defaults.items():
        os.environ.setdefault(variable, os.path.join(build, relative))
    os.environ.setdefault("SOURCE_DIR", ROOT)


def pretty(body):
    """The response as indented XML, or as it came when it is not XML."""
    from lxml import etree
    try:
        tree = etree.fromstring(body, etree.XMLParser(remove_blank_text=True))
    except etree.XMLSyntaxError:
        return body.decode("utf-8", "replace").strip()
    return etree.tostring(tree, pretty_print=True, encoding=str).strip()


def masked(text, elements):
    text = ISO_TIME.sub("<time>", DEVICE_TIME.sub("<device-time>", text))
    for element in elements:
        text = re.sub(r"(<(?:\w+:)?%s>)[^<]*(</)" % element,
                      r"\1<masked>\2", text)
    return text


def prepare(stack, harness):
    """The demo's log history, waveform records and a day of trend
    history in the stack's files; the command handler beside the daemon."""
    paths = stack.paths
    subprocess.run(harness.program("LOG_HISTORY_BIN") + [
        "--store", stack.store, "--replace", "--seed", "1",
        "--end", HISTORY_END, "--delta-log", paths["WSGATED_DELTA_LOG"],
        "--event-log", paths["WSGATED_EVENT_LOG"],
        "--system-log", paths["WSGATED_SYSTEM_LOG"]],
        check=True, capture_output=True)
    subprocess.run(harness.program("WAVECTL_BIN") + [
        "demo", paths["WSGATED_WAVEFORM_DIR"]], check=True,
        capture_output=True)
    subprocess.run(harness.program("CARD_TRENDS_BIN") + [
        "--store", stack.store, "--trend-log", paths["WSGATED_TREND_LOG"],
        "--backfill-days", "1", "--backfill-end", HISTORY_END],
        env=stack.env(), check=True, capture_output=True)
    stack.start_companion(os.environ["WSGATED_CARD_COMMANDS_BIN"],
                          "--every", "0.1")


def kept(text, element, count):
    """`text` with only the first `count` lines holding one `element`,
    and a comment after them counting the others."""
    line = re.compile(r"(\s*)<%s>[^<]*</%s>$" % (element, element))
    lines, seen, last = [], 0, None
    for shown in text.splitlines():
        match = line.match(shown)
        if match:
            seen += 1
            if seen > count:
                continue
            last = (len(lines), match.group(1))
        lines.append(shown)
    if seen > count:
        lines.insert(last[0] + 1, "%s<!-- %d more %s -->" % (
            last[1], seen - count, element))
    return "\n".join(lines)


def answer(stack, request, user):
    """What the daemon answers `request`: the XML, after a comment line
    with the HTTP status when it is not 200."""
    reply = stack.request(body=request.encode(), user=user, headers={
        "Content-Type": "application/soap+xml; charset=utf-8"})
    shown = pretty(reply.body)
    if reply.status != 200:
        shown = "<!-- HTTP %d -->\n%s" % (reply.status, shown)
    return shown


def snippet_differences(stack, page):
    """The page's Python snippets, run as one program against `stack`:
    what went wrong, if anything."""
    with open(page, encoding="utf-8") as f:
        blocks = re.findall(r"```python\n(.*?)```", f.read(), re.S)
    program = "".join(blocks).replace(
        "http://127.0.0.1:8080/", "http://127.0.0.1:%d/" % stack.port)
    done = subprocess.run([sys.executable, "-c", program],
                          capture_output=True, text=True, timeout=60)
    if done.returncode == 0:
        return []
    return ["%s, Python snippets:\n%s" % (os.path.relpath(page, ROOT),
                                          done.stderr)]


def error_table_differences(page):
    """The error codes of the page's "| Code | Name |" table against the
    daemon's table."""
    with open(os.path.join(ROOT, "common", "bnws_error.cc")) as f:
        table = re.search(r"BnwsErrorTable\[.*?\{(.*?)\};", f.read(), re.S)
    daemon = [(int(code), name) for code, name in
              re.findall(r'"(\d+) ([^"]*)"', table.group(1))]
    with open(page, encoding="utf-8") as f:
        shown = re.search(r"\| Code \| Name \|.*?\n\n", f.read(), re.S)
    listed = sorted((int(code), name) for code, name in re.findall(
        r"\|\s*(\d+)\s*\|\s*([^|]*?)\s*(?=\|)", shown.group(0)
        if shown else ""))
    if listed == daemon:
        return []
    return ["%s, error codes:\n%s" % (os.path.relpath(page, ROOT), "\n".join(
        difflib.unified_diff(["%d %s" % e for e in listed],
                             ["%d %s" % e for e in daemon], "page",
                             "common/bnws_error.cc", lineterm="")))]


def run(pages, update):
    """Sends every example; returns the differences found (with update,
    after writing the new responses)."""
    sys.path.insert(0, os.path.join(ROOT, "tests", "e2e"))
    import harness
    differences = []
    with harness.Stack(daemon_args=("-d", "-D", "2")) as stack:
        prepare(stack, harness)
        for page in pages:
            with open(page, encoding="utf-8") as f:
                text = f.read()

            def replace(match):
                if match["wait"]:
                    harness.wait_until(lambda: stack.cdsctl(
                        "get", match["wait"], check=False).returncode == 0,
                        match["wait"])
                got = answer(stack, match["request"], match["user"])
                if match["keep"]:
                    got = kept(got, match["keep"], int(match["count"]))
                mask = (match["mask"] or "").split(",") if match["mask"] else []
                old = match["response"] or ""
                if masked(old, mask) != masked(got, mask):
                    differences.append("%s, example %s:\n%s" % (
                        os.path.relpath(page, ROOT), match["name"],
                        "\n".join(difflib.unified_diff(
                            old.splitlines(), got.splitlines(), "page",
                            "daemon", lineterm=""))))
                return "%s```xml\n%s\n```\n%s" % (match["head"], got,
                                                  match["tail"])

            new_text = EXAMPLE.sub(replace, text)
            if update and new_text != text:
                with open(page, "w", encoding="utf-8") as f:
                    f.write(new_text)
            if os.path.basename(page) == "clients.md":
                differences += snippet_differences(stack, page)
            if os.path.basename(page) == "README.md":
                differences += error_table_differences(page)
    return differences


def main():
    parser = argparse.ArgumentParser(description=__doc__.split("\n")[0])
    mode = parser.add_mutually_exclusive_group(required=True)
    mode.add_argument("--update", action="store_true")
    mode.add_argument("--check", action="store_true")
    parser.add_argument("pages", nargs="*")
    args = parser.parse_args()
    use_build(os.path.abspath(os.environ.get("BUILD_DIR",
                                             os.path.join(ROOT, "build"))))
    pages = [os.path.abspath(p) for p in args.pages] or sorted(
        glob.glob(os.path.join(ROOT, "docs", "api", "*.md")))
    differences = run(pages, args.update)
    for difference in differences:
        print(difference)
    if args.update:
        print("%d example(s) changed" % len(differences))
        return 0
    return 1 if differences else 0


if __name__ == "__main__":
    sys.exit(main())
