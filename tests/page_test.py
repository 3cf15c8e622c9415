#!/usr/bin/python3
"""The page of zunic_inspect in a real browser, opened from disk.

usage: page_test.py ZUNIC_INSPECT DEMO_BUS SCENARIO_DIR
"""
import json
import os
import re
import stat
import subprocess
import sys
import tempfile
import time
import unittest

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

INSPECT, DEMO_BUS, SCENARIO_DIR = sys.argv[1:4]


def interface(number, name, **more):
    return {"id": number, "name": name, "role": "r", "domain": "d", "type": "stub", "version": [1, 0, 0],
            "communicator": 1, "state": "registered", "function_storage": {"manager": 0, "range": 0},
            "functions": None, "receivers": [], **more}


def state_of(interfaces, communicators):
    return {"schema": "zunic-bus-state/1", "channel": "</title><b>", "taken_at": "2026-11-23T07:52:01.123Z",
            "boot_id": "b", "program_version": "1", "mutex_held_ns": 1, "interfaces": interfaces,
            "communicators": communicators, "memory_managers": [],
            "message_storage": {"size": 4294967295, "readable": 4294967295, "last_written_index": 0, "writer_counter": 0,
                                "totals": dict.fromkeys(["free", "reserved", "written", "message", "data"], 0),
                                "slots": [{"index": 4294967294, "state": "message", "sender": 4095, "writer_counter": 1,
                                           "user_data_size": 1, "receivers": [65535],
                                           "chain": {"entries": [], "end": "invalid-index", "next_index": 4294967295}}]}}


def communicator(number, pid, application):
    return {"id": number, "pid": pid, "state": "registered", "application": application,
            "started_ms_after_boot": None, "living": "yes"}


class Page(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = tempfile.TemporaryDirectory()
        options = webdriver.ChromeOptions()
        options.binary_location = "/usr/bin/chromium"
        for argument in ("--headless=new", "--no-sandbox", "--disable-gpu", "--disable-dev-shm-usage",
                         "--window-size=1500,1000", f"--user-data-dir={cls.folder.name}/profile"):
            options.add_argument(argument)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        cls.browser = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
        cls.small = cls.make_small_page()

    @classmethod
    def tearDownClass(cls):
        cls.browser.quit()
        cls.folder.cleanup()

    @classmethod
    def make_small_page(cls):
        channel = f"page_test.{os.getpid()}"
        bus = subprocess.Popen([DEMO_BUS, "--channel", channel, f"{SCENARIO_DIR}/small.json"], stdout=subprocess.PIPE)
        try:
            bus.stdout.readline()
            return cls.make_page("small", "--channel", channel)
        finally:
            bus.terminate()
            bus.communicate()

    @classmethod
    def make_page(cls, name, *source):
        file = f"{cls.folder.name}/{name}.html"
        subprocess.run([INSPECT, "page", file, *source], check=True)
        return file

    def make_page_of(self, state):
        with open(f"{self.folder.name}/state.json", "w") as file:
            json.dump(state, file)
        return self.make_page("made", "--from", f"{self.folder.name}/state.json")

    def open(self, file, fragment=""):
        self.browser.get("about:blank")
        self.browser.get(f"file://{file}{fragment}")

    def tearDown(self):
        self.assertEqual(self.browser.get_log("browser"), [])

    def all(self, selector):
        return self.browser.find_elements(By.CSS_SELECTOR, selector)

    def one(self, selector):
        return self.browser.find_element(By.CSS_SELECTOR, selector)

    def text(self, selector):
        return self.browser.execute_script(
            "const found = document.querySelector(arguments[0]); return found && found.textContent", selector)

    def wait(self, what, expected):
        deadline = time.monotonic() + 60
        while what() != expected and time.monotonic() < deadline:
            time.sleep(0.02)
        self.assertEqual(what(), expected)

    def column(self, number):
        return self.browser.execute_script(
            "return Array.from(document.querySelectorAll('tbody tr'), row => row.cells[arguments[0]].textContent)", number)

    def title(self):
        return self.text("#chosen-title bdi")

    def choose(self, link):
        self.browser.execute_script("arguments[0].focus()", link)
        self.browser.switch_to.active_element.send_keys(Keys.ENTER)

    def test_opens_from_disk_alone_and_is_for_its_owner_only(self):
        self.open(self.small)
        self.assertEqual(len(self.all("tbody tr")), 12)
        self.assertIn("12 interfaces, 7 links, 6 processes, 14 of 32 slots in use", self.text("#facts"))
        self.assertEqual(self.browser.execute_script("return performance.getEntriesByType('resource').length"), 0)
        self.assertEqual(stat.S_IMODE(os.stat(self.small).st_mode), 0o600)

    def test_each_table_shows_all_of_a_record(self):
        file = self.make_page("damaged", "--from", f"{os.path.dirname(os.path.abspath(__file__))}/states/damaged.json")
        wide, hidden = "Wide\\xe3\\x80\\x80blank\\xc2\\xa0here", "hid\\xc2\\xa0den\\xe3\\x80\\x80one"
        tables = {
            "interfaces": (4, ["Id", "Name", "Role", "Domain", "Type", "Version", "State", "PID", "Application",
                               "Providers", "Users", "Addressed", "Sent since oldest"],
                           ["3", wide, "Ro le", "", "stub", "0.0.1", "registered", "300", hidden, "1", "0", "2",
                            "65,532"]),
            "processes": (4, ["PID", "Application", "Living", "Started (s after boot)", "Provides", "Uses",
                              "Addressed", "Sent since oldest", "Communicators"],
                          ["400", "nav[i]*\\x5cx", "yes", "12345.68", "1", "1", "4", "65,532", "11"]),
            "memory": (4, ["Manager", "Block size", "Initial", "Additional", "Total", "Used", "Functions", "Messages",
                           "Unknown", "Free", "Use"],
                       ["3", "512", "8", "8", "20", "20", "0", "0", "20", "0", "100 %"]),
            "messages": (5, ["Slot", "State", "Counter", "Size", "Sender", "Name", "Receivers", "Data", "External",
                             "Fault"],
                         ["4", "message", "5", "1", "3", wide, "900", "22", "", "not-data at 0"]),
        }
        for view, (row, headings, cells) in tables.items():
            self.open(file, f"#view={view}")
            self.wait(lambda: self.cells("thead tr"), headings)
            self.assertEqual(self.cells(f"tbody tr:nth-child({row})"), cells)

    def cells(self, row):
        return self.browser.execute_script(
            "return Array.from(document.querySelector(arguments[0]).cells, cell => cell.textContent)", row)

    def test_filter_and_sort_act_on_all_rows_and_stand_in_the_address(self):
        self.open(self.small)
        self.one("#filter").send_keys("clock type:stub")
        self.assertEqual(self.column(2), ["Navigator", "Dashboard", "Logger"])
        self.assertEqual(self.text("#count"), "3 of 12 interfaces")
        self.all("th button")[2].click()
        self.all("th button")[2].click()
        self.assertEqual(self.one("th[aria-sort]").get_attribute("aria-sort"), "descending")
        self.wait(lambda: "sort=-role" in self.browser.current_url, True)
        self.open(self.small, "#" + self.browser.current_url.split("#")[1])
        self.assertEqual(self.column(2), ["Navigator", "Logger", "Dashboard"])
        self.one("#filter").send_keys(Keys.CONTROL, "a")
        self.one("#filter").send_keys("pid:1")
        self.assertEqual(self.column(2), [])

    def test_walks_from_neighbour_to_neighbour_by_keyboard_and_back(self):
        self.open(self.small, "#view=interfaces&filter=provider")
        self.choose(self.all("tbody a")[0])
        self.wait(lambda: len(self.all("a.node.stub")), 3)
        self.assertEqual(len(self.all("a.node.skeleton.middle")), 1)
        self.assertEqual(len(self.all("path.edge")), 3)
        self.choose(self.one("a.node.stub[aria-label*='Navigator']"))
        self.wait(lambda: "Navigator" in self.text("#details"), True)
        self.assertEqual(self.text("#picture .box .title").split()[0], "clockd")  # Providers are left.
        self.assertEqual(len(self.column(0)), 5)  # The filter is as it was.
        self.choose(self.one("a.process[aria-label*='navigator']"))
        self.wait(self.title, "navigator")
        self.assertEqual(len(self.all("path.edge.required")), 1)
        self.browser.back()
        self.browser.back()
        self.wait(lambda: "Logger" in self.text("#picture"), True)
        self.choose(self.all("tbody a")[-1])
        self.wait(lambda: len(self.all(".box.dead")), 1)
        self.one("#chosen-title").send_keys(Keys.ESCAPE)
        self.assertEqual(self.browser.switch_to.active_element.text, "Tuner")

    def pixel(self, slot, color, y=3):
        return self.browser.execute_script("""
            const canvas = document.querySelector('canvas');
            const wanted = getComputedStyle(document.documentElement).getPropertyValue(arguments[1]).trim();
            const probe = new OffscreenCanvas(1, 1).getContext('2d', {willReadFrequently: true});
            probe.drawImage(canvas, -arguments[0] * 14 - 3, -arguments[2]);
            const seen = probe.getImageData(0, 0, 1, 1).data;
            return '#' + Array.from(seen).slice(0, 3).map(part => part.toString(16).padStart(2, '0')).join('') === wanted;
            """, slot, color, y)

    def test_slots_are_coloured_by_state_and_the_chain_is_marked_light_and_dark(self):
        self.open(self.small, "#view=messages&at=slot:4")
        for scheme, background in ("light", "rgba(255, 255, 255, 1)"), ("dark", "rgba(20, 23, 28, 1)"):
            self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia",
                                         {"features": [{"name": "prefers-color-scheme", "value": scheme}]})
            self.wait(lambda: self.one("body").value_of_css_property("background-color"), background)
            self.wait(lambda: self.pixel(0, "--slot-message"), True)
            self.assertTrue(self.pixel(2, "--slot-written"))
            self.assertTrue(self.pixel(20, "--slot-free"))
        self.assertIn("Part of the message in2", self.text("#details"))
        self.assertEqual([slot for slot in range(32) if self.pixel(slot, "--mark", 0)], [2, 3, 4, 5])
        self.choose(self.one("#details").find_element(By.LINK_TEXT, "2"))
        self.wait(self.title, "Slot 2")
        self.assertIn("Data entries3 4 5", self.text("#details"))

    def test_findings_lead_to_what_they_are_about(self):
        with open(self.small) as file:
            page = file.read()
        finding = {"code": "full", "severity": "error", "about": {"kind": "memory", "id": 1, "name": ""},
                   "evidence": "<b>", "look_at": "Look."}
        page = re.sub(r'"findings":\[.*\]}', lambda _: '"findings":[%s]}' % json.dumps(finding).replace("<", "\\u003c"), page)
        with open(f"{self.folder.name}/found.html", "w") as file:
            file.write(page)
        self.open(f"{self.folder.name}/found.html")
        self.assertIn("error full memory manager 1 <b> Look.", self.text("#findings li"))
        self.choose(self.one("#findings a"))
        self.wait(self.title, "Memory manager 1")
        self.assertEqual(self.text("nav a[aria-current]"), "Memory managers 2")

    def test_names_are_shown_and_never_obeyed(self):
        evil = "</script><script>window.hit=1</script><!--<script><img src=x onerror=window.hit=1>"
        names = [evil, "\"'`&lt;\u2028", "a\u202eb\u2066\u200f\u061c\u00a0\t\n\0c", [0x41, 0xff, 0xc3, 0x28, 0x3c, 0x62], "\\x41",
                 "\u0645\u0631\u062d\u0628\u0627", "javascript:alert(1)", "", "__proto__"]
        shown = [evil, "\"'`&lt;\\xe2\\x80\\xa8",
                 "a\\xe2\\x80\\xaeb\\xe2\\x81\\xa6\\xe2\\x80\\x8f\\xd8\\x9c\\xc2\\xa0\\x09\\x0a\\x00c", "A\\xff\\xc3(<b", "\\x5cx41",
                 "\u0645\u0631\u062d\u0628\u0627", "javascript:alert(1)", "(no name)", "__proto__"]
        interfaces = [interface(i, name, role=name, functions=[name], receivers=list(range(9)))
                      for i, name in enumerate(names)]
        self.open(self.make_page_of(state_of(interfaces, [communicator(1, 7, evil)])))
        self.assertEqual(self.column(1), shown)
        for i in range(len(names)):
            self.browser.execute_script("location.hash = `view=interfaces&at=interface:${arguments[0]}`", i)
            self.wait(lambda: self.title(), "Interface 7" if i == 7 else shown[i])
            self.assertEqual(len(self.all("a.node")), 20)
        self.browser.execute_script("location.hash = 'view=messages&at=slot:4294967294'")
        self.wait(self.title, "Slot 4294967294")
        self.assertIn("Sender4095 missing", self.text("#details"))
        self.assertEqual(self.browser.title, "Bus </title><b>")
        self.assertEqual(len(self.all("script")), 2)
        self.assertEqual(self.all("img, b"), [])
        self.browser.execute_script("""const script = document.createElement('script');
            script.textContent = 'window.hit = 1';
            document.body.append(script);""")
        self.assertIn("Content Security Policy", self.browser.get_log("browser")[0]["message"])
        self.assertIsNone(self.browser.execute_script("return window.hit"))

    def test_very_many_neighbours_are_grouped_by_process(self):
        users = [interface(i, f"user{i}", communicator=i % 40) for i in range(1, 101)]
        provider = interface(0, "hub", type="skeleton", communicator=50, receivers=[*range(1, 101), 900])
        communicators = [communicator(i, 1000 + i, f"app{i}") for i in range(51)]
        self.open(self.make_page_of(state_of([provider, *users], communicators)), "#view=interfaces&at=interface:0")
        self.assertEqual(len(self.all("a.node.group")), 30)
        self.assertIn("3 interfaces", self.text("#picture"))
        self.one("#picture button").click()
        self.assertEqual(len(self.all(".node.group")), 41)  # With the one that nobody has.


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
