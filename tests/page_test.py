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
import urllib.parse

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

INSPECT, DEMO_BUS, SCENARIO_DIR = sys.argv[1:4]
HERE = os.path.dirname(os.path.abspath(__file__))

# All that the page says, as lines. Names in the drawing are cut to fit the font: those are read from their tooltips.
ALL_TEXTS = r"""
    const text = node => node.textContent.replace(/ +$/, '');
    const each = (selector, of) => Array.from(document.querySelectorAll(selector), of);
    const address = element => element.getAttribute('href') || '-';
    const said = {
        head: () => [document.title, ...each('#facts > div', div => Array.from(div.children, text).join(': ')), text(document.querySelector('#findings-title')),
                     ...each('#findings li', item => `${text(item)} -> ${Array.from(item.querySelectorAll('a'), address)}`), ...each('nav a', text)],
        list: () => [text(document.querySelector('#count')), text(document.querySelector('#hint')), ...each('thead tr, tbody tr',
                     row => Array.from(row.cells, cell => text(cell) + (cell.querySelector('.badge') ? ` (${cell.querySelector('.badge').className})` : '')).join(' | '))],
        legend: () => each('#map li', text),
        chosen: () => [text(document.querySelector('#chosen-title')), ...each('#details dt', title => {
                           const values = [];
                           for (let next = title.nextElementSibling; next && next.tagName === 'DD'; next = next.nextElementSibling) {
                               values.push(text(next), ...Array.from(next.querySelectorAll('a'), link => `<${address(link)}>`),
                                           ...Array.from(next.querySelectorAll('ol'), list => `from ${list.start}`));
                           }
                           return `  ${text(title)}: ${values.join(' ')}`;
                       }),
                       ...each('#picture g.box', box => `  ${box.getAttribute('class')}: ${Array.from(box.querySelectorAll('a, .node'),
                           node => `${node.getAttribute('class')} "${node.getAttribute('aria-label') || text(node)}" <${address(node)}>`).join(', ')}`),
                       ...each('#picture title', text), ...each('#picture path.edge', edge => `  ${edge.getAttribute('class')} ${edge.getAttribute('marker-end')}`)],
        order: () => [each('tbody tr', row => text(row.cells[0])).join(' ')],
    };
    return said[arguments[0]]().map(line => line.replace(/\n/g, ' / '));
    """


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

    def go(self, **parts):
        """Shows another address of the page that is open."""
        self.browser.execute_async_script("""
            const [hash, done] = arguments;
            if (location.hash === hash) {
                done();
            } else {
                addEventListener('hashchange', () => done(), {once: true});
                location.hash = hash;
            }""", "#" + urllib.parse.urlencode(parts))

    def said(self, what):
        return self.browser.execute_script(ALL_TEXTS, what)

    def test_everything_is_said_of_a_damaged_and_of_a_healthy_bus(self):
        """Written again like the outputs of the commands: see expected_test.py."""
        columns = {"interfaces": "id name role domain type version state pid app providers users".split(),
                   "processes": "pid app living started provides uses communicators".split(),
                   "memory": "manager blocksize initial additional total used free use".split(),
                   "messages": "slot state counter size sender name to data external fault".split()}
        filters = {"interfaces": ["Clock", "clock type:stub", "pid:100", "pid:10", "pid:", "id:3", "communicator:7", "users:0", "state:reg",
                                  "colon:x", ":3", "type:STUB", "app:nav", "no such"],
                   "processes": ["HID", "living:no", "pid:100 living:yes", "provides:1", "uses:0", "communicators:8"],
                   "memory": ["512", "total:40", "use:1", "manager:0"],
                   "messages": ["Clock", "provider data", "sender:0", "to:2", "to:4", "to:3", "to:5", "to:6", "to:65535", "to:", "state:data", "size:12",
                                "fault:loop", "external:1", "counter:65535", "local", "name:clock"]}
        for name in "damaged", "healthy":
            with open(f"{HERE}/states/{name}.json") as file:
                state = json.load(file)
            self.open(self.make_page(name, "--from", f"{HERE}/states/{name}.json"))
            lines = self.said("head")
            for view in columns:
                self.go(view=view)
                lines += ["", f"{view}:", *self.said("list"), *self.said("legend")]
                for query in filters[view]:
                    self.go(view=view, filter=query)
                    lines += [f"filter {query}: {' '.join(self.said('order'))} ({self.text('#count')})"]
                for column in columns[view]:
                    for sort in column, "-" + column:
                        self.go(view=view, sort=sort)
                        lines += [f"sort {sort}: {' '.join(self.said('order'))}"]
            self.go(view="messages", sort="-size")
            things = [*(f"interface:{face['id']}" for face in state["interfaces"]), "interface:3.2",
                      *(f"communicator:{one['id']}" for one in state["communicators"]), "process:500",
                      *(f"memory:{i}" for i in range(len(state["memory_managers"]))),
                      *(f"slot:{slot['index']}" for slot in state["message_storage"]["slots"]), "slot:50", "memory:70"]
            for thing in things:
                self.go(view="interfaces", at=thing)
                lines += ["", f"{thing}:", *self.said("chosen")]
            self.compare(f"{HERE}/expected/page_{name}.txt", "\n".join(lines) + "\n")

    def compare(self, name, found):
        if os.environ.get("ZUNIC_WRITE_EXPECTED") == "1":
            with open(name, "w") as file:
                file.write(found)
        with open(name) as file:
            self.assertEqual(found.split("\n"), file.read().split("\n"))

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

    def make_page_of_many(self):
        """Ten more rows than are drawn at first, and lists on both sides of each limit."""
        faces = [interface(i, f"Zone{130 - i}", communicator=1 if i < 24 else 2) for i in range(127)]
        faces[0].update(type="skeleton", receivers=list(range(1, 13)))
        faces[1].update(type="skeleton", receivers=list(range(2, 15)), name=[0xff, 0x5c, 0x78])
        faces[126].update(communicator=4096, name="zoneless")
        state = state_of(faces, [communicator(1, 7, "few"), communicator(2, 8, "many")])
        storage = state["message_storage"]
        storage["slots"] = [{**storage["slots"][0], "index": i, "sender": i, "receivers": list(range(60 + i)),
                             "chain": {"entries": [], "end": "whole"}} for i in range(2)]
        return self.make_page_of(state)

    def test_what_is_very_much_is_shown_in_parts_and_whole_when_asked_for(self):
        self.open(self.make_page_of_many())
        self.assertEqual((len(self.column(0)), self.text("#count")), (50, "127 interfaces, 1 to 50 shown"))
        for chosen, drawn in (49, range(50)), (50, range(40, 90)), (126, range(116, 127)):
            self.go(view="interfaces", sort="id", at=f"interface:{chosen}")
            self.wait(lambda: self.text("tr[aria-current] td"), str(chosen))
            self.assertEqual(self.column(0), list(map(str, drawn)))
            self.go(view="memory")
        self.go(view="interfaces", at="interface:126")
        self.one("#before").click()
        self.assertEqual(self.column(0), list(map(str, range(127))))
        self.go(view="interfaces", sort="name")
        self.assertEqual(self.column(1)[:4], ["\\xff\\x5cx", "Zone5", "Zone6", "Zone7"])
        self.browser.execute_script("dispatchEvent(new Event('beforeprint'))")
        self.assertEqual(len(self.column(0)), 127)
        self.browser.execute_script("dispatchEvent(new Event('afterprint'))")
        self.assertEqual(len(self.column(0)), 50)
        self.one("#more").click()
        self.assertEqual((len(self.column(0)), self.text("#count")), (127, "127 interfaces"))
        self.assertEqual(self.column(1)[-1], "zoneless")
        found = {}
        for thing in "interface:0", "interface:1", "process:7", "process:8":
            self.go(view="interfaces", at=thing)
            found[thing] = (len(self.all("#picture .node.stub, #picture .node.skeleton")),
                            [group.text for group in self.all("#picture .node.group")])
        self.assertEqual(found, {"interface:0": (13, ["and 23 others"]), "interface:1": (2, ["and 23 others", "13 interfaces"]),
                                 "process:7": (26, ["14 interfaces"]), "process:8": (24, ["78 more interfaces"])})
        for slot, more in (0, []), (1, ["1 more"]):
            self.go(view="messages", at=f"slot:{slot}")
            self.wait(self.title, f"Slot {slot}")
            self.assertEqual([button.text for button in self.all("#details button")], more)
        self.one("#details button").click()
        self.assertEqual(self.text("#details dd:last-of-type").split(), list(map(str, range(61))))
        rows = self.all("#findings li")
        self.assertRegex(rows[3].text, r"Show 100 of \d+ more no-provider")
        self.one("#findings button").click()
        self.assertEqual(len(self.all("#findings li")), len(rows) + 100)
        self.one("#findings button").click()
        found = [code.text for code in self.all("#findings code")].count("no-provider")
        self.assertEqual(found, 125)  # All but the two skeletons.

    def test_a_filter_is_typed_and_found_again(self):
        self.open(self.small)
        self.one("body").send_keys("/")
        self.assertEqual(self.browser.switch_to.active_element.get_attribute("id"), "filter")
        self.one("#filter").send_keys("a/b")
        self.assertEqual(self.one("#filter").get_property("value"), "a/b")
        self.wait(lambda: "filter=a%2Fb" in self.browser.current_url, True)
        self.browser.back()  # What is typed is no place of its own.
        self.wait(lambda: self.browser.current_url, "about:blank")
        self.browser.forward()
        self.wait(lambda: self.text("#count"), "0 of 12 interfaces")
        # One that leaves at once finds what was typed last.
        self.browser.execute_script("""
            const filter = document.querySelector('#filter');
            filter.value = 'tuner';
            filter.dispatchEvent(new Event('input'));
            document.querySelector('nav a[data-view=memory]').click();""")
        self.wait(lambda: self.text("#count"), "2 memory managers")
        self.browser.back()
        self.wait(lambda: self.text("#count"), "2 of 12 interfaces")
        self.assertEqual(self.one("#filter").get_property("value"), "tuner")

    def test_of_an_empty_bus_it_says_so(self):
        self.open(self.make_page_of(state_of([], [])))
        self.assertIn("0 interfaces, 0 links, 0 processes", self.text("#facts"))
        self.assertEqual([self.text("#count"), self.text("#chosen-title")], ["0 interfaces", "Nothing selected"])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
