"""Opens the page of a catalogue in a browser and looks at what a reader would.

    vault_page_test.py VR_VAULT FOLDER_OF_SAMPLES FOLDER_OF_SCREENSHOTS
"""

import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

from browser import Browser

VAULT, SAMPLES, SCREENSHOTS = (pathlib.Path(name).resolve() for name in sys.argv[1:])
MARKUP = "<img src=x onerror=alert(1)>.prt"


class VaultPageTest(unittest.TestCase):
    def test_page(self):
        with tempfile.TemporaryDirectory() as folder, Browser() as browser:
            parts = pathlib.Path(folder, "parts")
            shutil.copytree(SAMPLES, parts)

            def vault(*words):
                return subprocess.run([VAULT, *words], cwd=folder, capture_output=True)

            vault("update", "v.db", "parts")
            (parts / MARKUP).touch()
            vault("update", "v.db", "parts")
            vault("page", "v.db", "--output", "v.html")
            bad = vault("list", "v.db", "-0", "--verdict", "damaged").stdout.count(b"\0")

            driver = browser.driver
            driver.set_window_size(1000, 1400)
            driver.get(f"file://{folder}/v.html")
            SCREENSHOTS.mkdir(parents=True, exist_ok=True)
            driver.save_screenshot(str(SCREENSHOTS / "vault.png"))
            ask = driver.execute_script
            self.assertEqual(driver.get_log("browser"), [])
            self.assertEqual(ask("return document.querySelectorAll('script, img, link').length"), 0)
            self.assertEqual(ask("return document.querySelectorAll('svg > title').length"), 6)
            self.assertEqual(ask("return document.querySelectorAll('td.verdict.damaged').length"), bad)
            self.assertEqual(ask("return document.querySelector('td.name').textContent"), f"parts/{MARKUP} new")
            # The style sheet is the one that the page's policy allows.
            self.assertEqual(ask("return getComputedStyle(document.querySelector('rect.damaged')).fill"),
                             "rgb(194, 42, 38)")
            longest = ask("return Math.max(...[...document.querySelectorAll('svg')].map((one) => one.scrollWidth))")
            self.assertLessEqual(longest, 1000)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
