#!/usr/bin/python3
"""Measures the page of zunic_inspect on a full bus, in headless Chromium and by its clock, and prints one table.

usage: page_bench.py FULL_BUS ZUNIC_INSPECT
"""
import os
import statistics
import subprocess
import sys
import tempfile
import time

from selenium import webdriver
from selenium.webdriver.chrome.service import Service

FULL_BUS, INSPECT = sys.argv[1:3]
LINKS, SLOTS = "16", "65536"

# When the rows of the table have been drawn.
NOTE_ROWS = """
new MutationObserver((_, observer) => {
  if (document.querySelector('tbody tr')) {
    observer.disconnect();
    requestAnimationFrame(() => {
      const channel = new MessageChannel();
      channel.port1.onmessage = () => { window.rowsDrawn = performance.now(); };
      channel.port2.postMessage(0);
    });
  }
}).observe(document, {childList: true, subtree: true});
"""

# How long each of the steps takes until the frame with its outcome has been drawn.
TIME_STEPS = """
const [steps, done] = arguments;
const frame = () => new Promise(resolve => requestAnimationFrame(() => {
  const channel = new MessageChannel();
  channel.port1.onmessage = resolve;
  channel.port2.postMessage(0);
}));
const filter = document.getElementById('filter');
const act = {
  type(text) {
    filter.value = text;
    filter.dispatchEvent(new Event('input'));
  },
  go(fragment) {
    const moved = new Promise(resolve => window.addEventListener('hashchange', resolve, {once: true}));
    location.hash = fragment;
    return moved;
  }
};
(async () => {
  const times = [];
  for (const [action, argument] of steps) {
    await frame();
    const begin = performance.now();
    await act[action](argument);
    await frame();
    times.push(performance.now() - begin);
  }
  done(times);
})();
"""


def print_row(what, value, unit, bound=""):
    print(f"{what:<46} {value:>10.2f} {unit:<4} {bound}")


def print_times(what, times, bound):
    print_row(f"{what}, median of {len(times)}", statistics.median(times), "ms", bound)
    print_row(f"{what}, worst", max(times), "ms")


def median_time(command, rounds=15):
    times = []
    for _ in range(rounds):
        begin = time.perf_counter()
        subprocess.run(command, check=True)
        times.append(time.perf_counter() - begin)
    return 1000 * statistics.median(times)


def measure_writing(folder):
    """Hosts the bus, and leaves its page behind."""
    with subprocess.Popen([FULL_BUS, LINKS, SLOTS], stdin=subprocess.PIPE, stdout=subprocess.PIPE, text=True) as bus:
        channel = bus.stdout.readline().strip()
        page = median_time([INSPECT, "page", f"{folder}/full.html", "--channel", channel])
        save = median_time([INSPECT, "save", f"{folder}/full.state.json", "--channel", channel])
        bus.stdin.close()
    print_row("writing the page", page, "ms")
    print_row("  over save", page / save, "", "at most 1.5")
    print_row("size", os.path.getsize(f"{folder}/full.html") / 1e6, "MB", "at most 8")


def open_browser(folder):
    options = webdriver.ChromeOptions()
    options.binary_location = "/usr/bin/chromium"
    for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                     "--window-size=1500,1000", f"--user-data-dir={folder}/profile"):
        options.add_argument(argument)
    browser = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
    browser.execute_cdp_cmd("Page.addScriptToEvaluateOnNewDocument", {"source": NOTE_ROWS})
    browser.set_script_timeout(600)
    return browser


def letters(text):
    return [("type", text[:i]) for i in range(1, len(text) + 1)] + [("type", text[:i]) for i in range(len(text) - 1, -1, -1)]


def measure_browsing(browser, page):
    opened = []
    for _ in range(5):
        browser.get("about:blank")
        browser.get(f"file://{page}")
        while not (rows := browser.execute_script("return window.rowsDrawn")):
            time.sleep(0.01)
        opened.append(rows)
    print_times("tables shown", opened, "at most 1,500")

    def times(steps):
        return browser.execute_async_script(TIME_STEPS, steps)

    print_times("a letter, interfaces", times(letters("zone12 consumer")), "at most 50")
    print_times("choosing an interface", times([("go", f"view=interfaces&at=interface:{i}") for i in range(0, 1024, 20)]),
                "at most 50")
    pid = browser.execute_script("return JSON.parse(document.getElementById('data').textContent).communicators.pid[0]")
    print_times("choosing the process of all", times([("go", "view=processes"), ("go", f"view=processes&at=process:{pid}")] * 10)[1::2],
                "")
    print_times("opening the messages", times([("go", "view=messages"), ("go", "view=interfaces")] * 5)[::2], "")
    browser.execute_script("location.hash = 'view=messages'")
    print_times("a letter, messages", times(letters("zone12 consumer")), "at most 50")
    print_times("choosing a message", times([("go", f"view=messages&at=slot:{i}") for i in range(0, 3000, 100)]), "at most 50")


def main():
    with tempfile.TemporaryDirectory(dir="/dev/shm") as folder:
        measure_writing(folder)
        browser = open_browser(folder)
        try:
            measure_browsing(browser, f"{folder}/full.html")
        finally:
            browser.quit()


if __name__ == "__main__":
    main()
