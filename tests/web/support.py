# SPDX-License-Identifier: Apache-2.0
"""The page in headless Chromium, or in the Firefox that ARVESSA_FIREFOX names, and the command."""
import functools
import http.server
import os
import pathlib
import tempfile
import threading
import unittest

from commands import SOURCE, read_wav
from selenium import webdriver
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import Select, WebDriverWait

PAGE = SOURCE / "arvessa.html"
SCENE = SOURCE / "web/scene.wav"
PATIENCE = 120  # seconds

# Everything that sounds goes by a tap, which keeps the last second of it.
TAP = """
const connect = AudioNode.prototype.connect;
AudioNode.prototype.connect = function (to, ...rest) {
  if (to === this.context.destination && this.context instanceof AudioContext) {
    this.context.tap ??= new AnalyserNode(this.context, { fftSize: 32768 });
    globalThis.tap = this.context.tap;
    connect.call(this, this.context.tap);
  }
  return connect.call(this, to, ...rest);
};
globalThis.heard = () => {
  const samples = new Float32Array(32768);
  tap.getFloatTimeDomainData(samples);
  return [...samples];
};
globalThis.shifts = 0;
new PerformanceObserver((list) => list.getEntries().forEach((entry) => (shifts += entry.value)))
  .observe({ type: 'layout-shift', buffered: true });
"""


class QuietHandler(http.server.SimpleHTTPRequestHandler):
    def log_message(self, *_):
        pass


class PageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.folder = pathlib.Path(cls.enterClassContext(tempfile.TemporaryDirectory()))
        cls.downloads = cls.folder / "downloads"
        cls.downloads.mkdir()
        handler = functools.partial(QuietHandler, directory=PAGE.parent)
        server = http.server.ThreadingHTTPServer(("127.0.0.1", 0), handler)
        threading.Thread(target=server.serve_forever, daemon=True).start()
        cls.addClassCleanup(server.server_close)
        cls.addClassCleanup(server.shutdown)
        cls.places = (PAGE.as_uri(), f"http://127.0.0.1:{server.server_port}/{PAGE.name}")

        cls.browser = cls.firefox() if "ARVESSA_FIREFOX" in os.environ else cls.chromium()
        cls.addClassCleanup(cls.browser.quit)

    @classmethod
    def firefox(cls):
        from firefox import Firefox
        return Firefox(os.environ["ARVESSA_FIREFOX"], cls.folder / "profile", {
            "browser.download.dir": str(cls.downloads), "browser.download.folderList": 2,
            "media.autoplay.default": 0, "media.navigator.streams.fake": True,
            "media.autoplay.block-webaudio": False, "media.autoplay.blocking_policy": 0})

    @classmethod
    def chromium(cls):
        options = webdriver.ChromeOptions()
        options.binary_location = os.environ["ARVESSA_CHROMIUM"]
        for argument in ("headless=new", "no-sandbox", "use-fake-device-for-media-stream",
                         f"use-file-for-fake-audio-capture={SCENE}",
                         "autoplay-policy=no-user-gesture-required"):
            options.add_argument("--" + argument)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        service = webdriver.chrome.service.Service(os.environ["ARVESSA_CHROMEDRIVER"])
        browser = webdriver.Chrome(service=service, options=options)
        browser.execute_cdp_cmd("Browser.setDownloadBehavior",
                                {"behavior": "allow", "downloadPath": str(cls.downloads)})
        return browser

    def cdp(self, command, **arguments):
        return self.browser.execute_cdp_cmd(command, arguments)

    def permit_microphone(self, place, allow):
        if hasattr(self.browser, "set_preference"):
            self.browser.set_preference("permissions.default.microphone", 1 if allow else 2)
            return
        origin = {"origin": self.places[1].rsplit("/", 1)[0]} if place == 1 else {}
        self.cdp("Browser.setPermission", permission={"name": "microphone"},
                 setting="granted" if allow else "denied", **origin)

    def open(self, place=0):
        self.browser.get(self.places[place])
        self.run_js(TAP)
        self.settle()

    def tearDown(self):
        # What the page did not expect, a refused load among it.
        if not hasattr(self.browser, "set_preference"):
            self.assertEqual(self.browser.get_log("browser"), [])

    def get(self, name):
        return self.browser.find_element(By.ID, name)

    def text(self, name):
        return self.get(name).text

    def run_js(self, code, *arguments):
        run = getattr(self.browser, "run", self.browser.execute_script)
        return run(code, *arguments)

    def wait(self, condition):
        return WebDriverWait(self.browser, PATIENCE, 0.02).until(lambda _: condition())

    def settle(self):
        self.wait(lambda: self.get("recording").get_attribute("aria-busy") == "false")

    def press(self, key):
        self.browser.find_element(By.TAG_NAME, "body").send_keys(key)

    def set(self, **settings):
        """Switches as in the form; a change waits for its result."""
        for name, value in settings.items():
            control = self.browser.find_element(By.NAME, name)
            if name == "heldBeam":
                Select(control).select_by_value(str(value))
            elif control.is_selected() != value:
                control.click()
        self.settle()

    def load(self, path):
        opened = self.run_js("return opened")
        self.get("file").send_keys(str(path))
        self.wait(lambda: self.run_js("return opened") > opened)
        self.settle()

    def saved(self, button):
        self.get(button).click()
        # Browsers write to another name, and may keep the right one free by an empty file.
        def whole():
            files = [*self.downloads.iterdir()]
            return (len(files) == 1 and files[0].suffix in (".wav", ".csv")
                    and files[0].stat().st_size and files[0])
        file = self.wait(whole)
        content = file.read_bytes()
        file.unlink()
        return content

    def assert_same_samples(self, wav_bytes, expected):
        path = self.folder / "got.wav"
        path.write_bytes(wav_bytes)
        self.assertTrue(read_wav(path) == read_wav(expected))  # without a diff of megabytes
