"""A headless browser for the test of the page, and what it has to say about a page."""

import base64
import json
import tempfile

from selenium import webdriver
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service

SWITCHES = [
    "--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run", "--disable-dev-shm-usage",
    "--disable-background-networking", "--disable-component-update", "--disable-sync",
]


class Browser:
    """Opens pages from files; a context manager, so that no process stays behind."""

    def __init__(self):
        self.profile = tempfile.TemporaryDirectory(prefix="page-test-")
        options = Options()
        options.binary_location = "/usr/bin/chromium"
        for switch in [*SWITCHES, f"--user-data-dir={self.profile.name}"]:
            options.add_argument(switch)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
        self.driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
        self.driver.set_script_timeout(60)
        self.url = ""

    def __enter__(self):
        return self

    def __exit__(self, *_):
        self.driver.quit()
        self.profile.cleanup()

    def command(self, name, **parameters):
        return self.driver.execute_cdp_cmd(name, parameters)

    def open(self, path, address="", width=1280, height=900, dark=False):
        """A fresh page in a window of that width, in pixels; what was said before is forgotten."""
        self.command("Emulation.setDeviceMetricsOverride", width=width, height=height, deviceScaleFactor=1,
                     mobile=width < 600)
        self.command("Emulation.setEmulatedMedia",
                     features=[{"name": "prefers-color-scheme", "value": "dark" if dark else "light"}])
        self.driver.get("about:blank")
        self.driver.get_log("browser")
        self.driver.get_log("performance")
        self.url = path.resolve().as_uri()
        self.driver.get(self.url + address)

    def run(self, script, *arguments):
        return self.driver.execute_script(script, *arguments)

    def settle(self):
        """Waits for the next picture."""
        self.driver.execute_async_script(
            "const done = arguments[0]; requestAnimationFrame(() => requestAnimationFrame(() => done()));")

    def troubles(self):
        """Errors and warnings of scripts and of the content security policy."""
        return [entry["message"] for entry in self.driver.get_log("browser") if entry["level"] != "INFO"]

    def requests(self):
        """What was asked of any server or folder beside the page itself."""
        asked = []
        for entry in self.driver.get_log("performance"):
            message = json.loads(entry["message"])["message"]
            if message["method"] == "Network.requestWillBeSent":
                asked.append(message["params"]["request"]["url"])
        return [url for url in asked if url.split("#")[0] not in (self.url, "about:blank")]

    def screenshot(self, path, whole=True):
        size = self.run("return [document.documentElement.scrollWidth, document.documentElement.scrollHeight];")
        clip = {"x": 0, "y": 0, "width": size[0], "height": min(size[1], 12000), "scale": 1}
        picture = self.command("Page.captureScreenshot", format="png", captureBeyondViewport=whole,
                               **({"clip": clip} if whole else {}))
        path.write_bytes(base64.b64decode(picture["data"]))
