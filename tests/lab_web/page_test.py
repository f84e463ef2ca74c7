#!/usr/bin/env python3
"""The lab's page in a real browser: headless Chromium opens it beside a running mesh.

usage: page_test.py BACKHAUL_LAB [SCREENSHOTS]

BACKHAUL_LAB is the lab's program; SCREENSHOTS a folder for pictures of the page (dark, light,
narrow). Each step waits for what it wants to see. Exit status 0: all was seen.
"""
import os
import re
import subprocess
import sys
import tempfile
import unittest

from selenium import webdriver
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import WebDriverWait

PATIENCE = 120
SCENARIO = """title three below each other
line 4
wait-until all status ready within 300
"""


def browser_make():
    options = webdriver.ChromeOptions()
    for word in ("--headless=new", "--no-sandbox", "--disable-gpu", "--hide-scrollbars",
                 "--window-size=1280,1050"):
        options.add_argument(word)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
    return webdriver.Chrome(options=options)


class Page(unittest.TestCase):
    lab = ""
    pictures = None

    @classmethod
    def run_lab(cls, *words):
        return subprocess.run([cls.lab, *words], env=cls.environment, text=True, timeout=PATIENCE,
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False).stdout

    @classmethod
    def setUpClass(cls):
        # A name for everything below it: the socket's folder must be the caller's own.
        cls.place = tempfile.TemporaryDirectory(dir=os.path.dirname(os.path.abspath(cls.lab)))
        cls.environment = dict(os.environ, XDG_RUNTIME_DIR=cls.place.name)
        scenario = os.path.join(cls.place.name, "web.scn")
        with open(scenario, "w", encoding="utf-8") as file:
            file.write(SCENARIO)
        said = cls.run_lab("up", scenario, "--web")
        found = re.search(r"http://127\.0\.0\.1:\d+/#[0-9a-f]{32}", said)
        if not found:
            raise RuntimeError(said)
        cls.address = found.group(0)
        cls.browser = browser_make()
        cls.browser.get(cls.address)

    @classmethod
    def tearDownClass(cls):
        cls.browser.quit()
        cls.run_lab("down")
        cls.place.cleanup()

    def see(self, look, what):
        return WebDriverWait(self.browser, PATIENCE, 0.2).until(lambda _: look(), what)

    def find(self, selector):
        return self.browser.find_element(By.CSS_SELECTOR, selector)

    def count(self, selector):
        return len(self.browser.find_elements(By.CSS_SELECTOR, selector))

    def picture(self, name):
        if self.pictures:
            self.browser.save_screenshot(os.path.join(self.pictures, name))

    def choose(self, name):
        self.see(lambda: self.count(f"g.node[aria-label^='{name},']") == 1, name)
        self.browser.execute_script(
            "arguments[0].dispatchEvent(new MouseEvent('click', {bubbles: true}))",
            self.find(f"g.node[aria-label^='{name},']"))

    def tab(self, name):
        self.find(f"#tab-{name}").click()
        self.see(lambda: self.find(f"#tab-{name}").get_attribute("aria-selected") == "true", name)

    def test_1_shows_the_mesh_become_ready(self):
        self.see(lambda: ", 3 ready," in self.find("#headline").text, "three nodes ready")
        self.assertEqual(self.count("#drawing line.uplink"), 3)
        self.assertEqual(self.find("#title").text, "three below each other")
        self.see(lambda: self.count("#lanes rect.s-ready") >= 3, "three lanes that end ready")

    def test_2_does_a_verb_and_shows_what_follows(self):
        self.choose("e1")
        self.tab("status")
        self.see(lambda: "ath0 to root" in self.find("#panel").text, "the uplink")
        bars = self.count("#lanes rect.bar")
        self.find("#verb-d").click()
        self.see(lambda: "deauth e1" in self.find("#said").text, "what came of it")
        self.see(lambda: self.count("#lanes rect.bar") > bars, "the lane grow")
        self.see(lambda: self.count("#lanes rect.outage") > 0, "the outage shaded")
        self.see(lambda: ", 3 ready," in self.find("#headline").text, "three nodes ready again")

    def test_3_finds_a_line_of_the_log_and_of_the_commands(self):
        self.choose("e1")
        self.tab("log")
        self.find("#find").send_keys("Disconnect with")
        self.see(lambda: "Disconnect with : 02:" in self.find("#panel").text, "the line")
        self.assertNotIn("Enter", self.find("#panel").text)
        self.find("#find").clear()
        self.tab("lines")
        self.find("#find").send_keys("reconnect")
        self.see(lambda: "wpa_cli -i ath0" in self.find("#panel").text, "the command")
        self.find("#find").clear()
        self.find("#find").send_keys(Keys.ESCAPE)

    def test_4_shows_files_and_the_scenario(self):
        self.choose("e1")
        self.tab("files")
        self.see(lambda: self.count("#panel details") > 5, "files")
        self.find("#panel details[data-path='/tmp/backhaul_status'] summary").click()
        self.see(lambda: "ready" in self.find(
            "#panel details[data-path='/tmp/backhaul_status'] pre").text, "the status file")
        self.tab("steps")
        self.see(lambda: self.find("#panel").text.startswith("\u2713 3: wait-until"), "the step")

    def test_5_pauses_and_steps_by_keys(self):
        body = self.find("body")
        body.send_keys(" ")
        self.see(lambda: self.find("#speed").text == "paused", "the pause")
        before = self.find("#headline").text.split(",")[0]
        body.send_keys("s")
        self.see(lambda: self.find("#headline").text.split(",")[0] != before, "one second")
        body.send_keys("a")
        self.see(lambda: self.find("#speed").text == "auto", "time go on")
        body.send_keys(Keys.ARROW_RIGHT)
        self.see(lambda: self.count("g.node.chosen") == 1, "a node chosen by keys")

    def test_6_says_why_a_step_cannot_be_done(self):
        self.find("#words").send_keys("deauth e9", Keys.ENTER)
        self.see(lambda: "is no node" in self.find("#said").text, "the reason")

    def test_7_looks_right_light_dark_and_narrow(self):
        self.choose("e1")
        self.tab("log")
        for name, scheme, width in (("light", "light", 1280), ("dark", "dark", 1280),
                                    ("narrow", "light", 420)):
            self.browser.execute_cdp_cmd("Emulation.setEmulatedMedia", {
                "features": [{"name": "prefers-color-scheme", "value": scheme}]})
            self.browser.set_window_size(width, 1050)
            self.see(lambda: self.browser.execute_script(
                "return document.documentElement.scrollWidth <= window.innerWidth"),
                f"no sideways scrolling, {name}")
            self.see(lambda: self.browser.execute_script("""
                const box = document.getElementById("drawing").getBoundingClientRect();
                return [...document.querySelectorAll("g.node .disc")].every((one) => {
                    const disc = one.getBoundingClientRect();
                    return disc.left >= box.left && disc.right <= box.right &&
                        disc.top >= box.top && disc.bottom <= box.bottom; });"""),
                f"all nodes inside the drawing, {name}")
            self.picture(f"lab_page_{name}.png")

    def test_8_asks_nobody_without_the_token(self):
        self.browser.switch_to.new_window("tab")
        self.browser.get(self.address.split("#")[0])
        self.see(lambda: "without the token" in self.find("#problem").text, "the refusal")
        self.browser.close()
        self.browser.switch_to.window(self.browser.window_handles[0])

    def test_9_has_written_nothing_to_the_console(self):
        # The refusals that tests 6 and 8 asked for are the browser's own words.
        said = [entry for entry in self.browser.get_log("browser")
                if "status of 40" not in entry["message"]]
        self.assertEqual(said, [])


if __name__ == "__main__":
    Page.lab = sys.argv[1]
    Page.pictures = sys.argv[2] if len(sys.argv) > 2 else None
    unittest.main(argv=sys.argv[:1], verbosity=2)
