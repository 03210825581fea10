"""Opens the page of parts in a browser and looks at what a reader would: at what it shows, where it leads, and what it
must not do.

    page_test.py MAKE_PAGE FOLDER_OF_SCREENSHOTS
"""

import json
import pathlib
import re
import subprocess
import sys
import tempfile
import unittest

import page_documents
from browser import Browser
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys

MAKE_PAGE = sys.argv.pop(1)
SCREENSHOTS = pathlib.Path(sys.argv.pop(1))

ACTIVE = "return document.activeElement.className + ' ' + document.activeElement.id;"
VIEW = "const map = document.querySelector('.detail').dataset; return [Number(map.from), Number(map.to)];"
# Every control that the keyboard reaches must say what it is.
UNNAMED = """return [...document.querySelectorAll('a[href], button, input, select, summary, canvas[tabindex], [role=region]')]
    .filter((one) => !(one.textContent.trim() || one.getAttribute('aria-label')
                       || (one.id && document.querySelector(`label[for="${one.id}"]`)))).map((one) => one.outerHTML);"""
# The share of the overview's columns that are in the colour of failure.
FAILED_COLUMNS = """
    const canvas = document.querySelector('.overview');
    const row = canvas.getContext('2d').getImageData(0, 26, canvas.width, 1).data;
    let red = 0;
    for (let at = 0; at < row.length; at += 4) if (row[at] > 150 && row[at + 1] < 80 && row[at + 2] < 80) ++red;
    return red;"""


class PageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        SCREENSHOTS.mkdir(parents=True, exist_ok=True)
        cls.folder = tempfile.TemporaryDirectory(prefix="pages-")
        cls.browser = Browser()

    @classmethod
    def tearDownClass(cls):
        cls.browser.__exit__()
        cls.folder.cleanup()

    def make(self, name, *documents):
        folder = pathlib.Path(self.folder.name)
        files = []
        for number, document in enumerate(documents):
            files.append(folder / f"{name}-{number}.json")
            text = document if isinstance(document, str) else json.dumps(document, ensure_ascii=False)
            files[-1].write_text(text, encoding="utf-8")
        page = folder / f"{name}.html"
        page.write_bytes(subprocess.run([MAKE_PAGE, *files], check=True, stdout=subprocess.PIPE).stdout)
        return page

    def open(self, page, address="", **window):
        self.browser.open(page, address, **window)
        self.browser.settle()

    def expect_quiet(self):
        self.assertEqual(self.browser.troubles(), [])
        self.assertEqual(self.browser.requests(), [])

    def text(self, selector):
        return self.browser.driver.find_element(By.CSS_SELECTOR, selector).text

    def test_every_page_in_every_window(self):
        pages = {
            "damaged": (page_documents.DAMAGED,), "sound": (page_documents.SOUND,),
            "several": (page_documents.SOUND, page_documents.DAMAGED, page_documents.UNREADABLE),
            "summary": (page_documents.summary_only(),), "unreadable": (page_documents.UNREADABLE,),
            "hostile": (page_documents.hostile(),), "none": (),
        }
        for name, documents in pages.items():
            page = self.make(name, *documents)
            for width, dark in ((1280, False), (1280, True), (360, False), (360, True)):
                with self.subTest(page=name, width=width, dark=dark):
                    self.open(page, width=width, dark=dark)
                    self.browser.screenshot(SCREENSHOTS / f"{name}-{width}-{'dark' if dark else 'light'}.png")
                    self.assertLessEqual(self.browser.run("return document.documentElement.scrollWidth"), width)
                    ground = self.browser.run("return getComputedStyle(document.body).backgroundColor")
                    self.assertEqual(int(re.search(r"\d+", ground)[0]) < 100, dark)
                    self.assertEqual(self.browser.run(UNNAMED), [])
                    if documents:
                        self.assertEqual(self.browser.run("return document.querySelectorAll('h1, main').length"), 2)
                    self.expect_quiet()

    def test_a_finding_leads_to_its_place(self):
        page = self.make("places", page_documents.DAMAGED)
        findings = page_documents.DAMAGED["findings"]
        for number, finding in enumerate(findings, 1):
            with self.subTest(finding=number):
                self.open(page)
                self.browser.driver.find_element(By.CSS_SELECTOR, f"#finding-card-{number} .place-link").click()
                self.browser.settle()
                self.expect_place(f"#finding-{number}", finding)
        self.open(page, "#finding-3")  # an address that someone was sent
        self.expect_place("#finding-3", findings[2])
        self.browser.screenshot(SCREENSHOTS / "finding-1280-light.png", whole=False)
        self.browser.driver.switch_to.active_element.send_keys("d")  # the next finding in the file: nothing behind it
        self.browser.settle()
        self.expect_place("#finding-2", findings[1])
        self.expect_quiet()

    def expect_place(self, address, finding):
        self.assertEqual(self.browser.run("return location.hash"), address)
        self.assertIn("detail", self.browser.run(ACTIVE))
        start, end = self.browser.run(VIEW)
        offset, length = finding["where"]["file_offset"], finding["where"]["length"]
        self.assertLessEqual(start, offset)
        self.assertGreaterEqual(end, offset + length)
        self.assertLess(end - start, max(2 * length, 1000))
        self.assertIn(finding["message"], self.text(".selection"))
        top, bottom = self.browser.run(
            "const box = document.querySelector('.detail').getBoundingClientRect(); return [box.top, box.bottom];")
        self.assertTrue(0 <= top < bottom <= self.browser.run("return innerHeight"))

    def test_the_keyboard_walks_the_map(self):
        self.open(self.make("keys", page_documents.DAMAGED))
        detail = self.browser.driver.find_element(By.CSS_SELECTOR, ".detail")
        ranges = page_documents.DAMAGED["bytes"]["map"]
        size = page_documents.DAMAGED["file"]["size"]
        detail.send_keys(Keys.HOME)
        self.assertIn("signature", self.text(".selection h3"))
        detail.send_keys(Keys.ARROW_RIGHT)
        self.assertIn("format version", self.text(".selection h3"))
        detail.send_keys(Keys.END, Keys.ENTER)
        start, end = self.browser.run(VIEW)
        self.assertTrue(start <= ranges[-1]["offset"] and end == size and end - start < 1000)
        detail.send_keys("0")
        self.assertEqual(self.browser.run(VIEW), [0, size])
        self.expect_quiet()

    def test_several_parts(self):
        page = self.make("route", page_documents.SOUND, page_documents.DAMAGED)
        self.open(page)
        self.browser.driver.find_element(By.LINK_TEXT, "damaged_zero_blocks.prt").click()
        self.browser.settle()
        self.assertEqual(self.browser.run("return location.hash"), "#part-2")
        self.assertIn("Damaged", self.text(".verdict"))
        self.browser.driver.find_element(By.CSS_SELECTOR, "#finding-card-1 .place-link").click()
        self.browser.settle()
        self.expect_place("#part-2/finding-1", page_documents.DAMAGED["findings"][0])
        self.browser.driver.find_element(By.LINK_TEXT, "All files").click()
        self.browser.settle()
        self.browser.driver.find_element(By.CSS_SELECTOR, ".tally.sound").click()
        self.assertEqual([row.text for row in self.browser.driver.find_elements(By.CSS_SELECTOR, ".file-name a")],
                         ["bracket.prt"])
        self.expect_quiet()

    def test_nothing_is_injected(self):
        hostile = page_documents.hostile()
        page = self.make("injected", hostile, page_documents.DAMAGED)
        blocks = re.findall(rb'<script type="application/json">(.*?)</script>', page.read_bytes(), re.DOTALL)
        self.assertEqual(json.loads(blocks[0]), hostile)
        self.assertIsNone(re.search(rb"[<>&]|\xe2\x80[\xa8\xa9]", blocks[0]))
        self.open(page, "#part-1/finding-1")
        for details in self.browser.driver.find_elements(By.TAG_NAME, "summary"):
            details.click()
        self.assertEqual(self.browser.run("return [window.injected ?? null, document.scripts.length, "
                                          "document.querySelectorAll('img, iframe, object, embed, link, base').length]"),
                         [None, 3, 0])
        self.assertIn("\\u202egpj.trp", self.text("#title"))
        self.expect_quiet()

    def test_the_policy_is_in_force(self):
        self.open(self.make("policy", page_documents.SOUND))
        self.browser.run("""
            const script = document.createElement('script');
            script.textContent = 'window.injected = 1';
            document.body.append(script);
            document.body.append(Object.assign(new Image(), { src: 'file:///etc/hostname' }));
            document.body.setAttribute('style', 'color: red');""")
        self.browser.settle()
        self.assertIsNone(self.browser.run("return window.injected ?? null"))
        self.assertEqual(len([text for text in self.browser.troubles() if "Content Security Policy" in text]), 3)

    def test_a_hundred_thousand_ranges(self):
        document = page_documents.long_one()
        self.browser.driver.set_page_load_timeout(20)
        self.open(self.make("long", document))
        self.assertIn(self.browser.run(FAILED_COLUMNS), (1, 2, 3))  # four bytes of 78 MB are not hidden
        self.assertEqual(self.browser.run("return document.querySelectorAll('#findings li.finding').length"), 200)
        self.browser.driver.find_element(By.XPATH, "//section[@id='findings']//button[text()='Last']").click()
        self.browser.driver.find_element(By.CSS_SELECTOR, "#finding-card-3000 .place-link").click()
        self.browser.settle()
        start, end = self.browser.run(VIEW)
        self.assertTrue(start <= 2999 * 7 < end < start + 1000)
        self.assertLess(self.browser.run("return document.getElementsByTagName('*').length"), 30_000)
        self.browser.screenshot(SCREENSHOTS / "long-1280-light.png", whole=False)
        self.expect_quiet()

    def test_misshapen_documents(self):
        page = self.make("misshapen", *page_documents.MISSHAPEN)
        for number in range(len(page_documents.MISSHAPEN) + 1):
            with self.subTest(document=number):
                self.open(page, f"#part-{number}" if number else "")
                self.assertEqual(self.browser.run("return document.querySelectorAll('h1').length"), 1)
                self.expect_quiet()
        self.assertIn("18,446,744,073,709,551,615", self.text("#summary"))

    def test_paper(self):
        self.open(self.make("paper", page_documents.DAMAGED), dark=True)
        printed = self.browser.command("Page.printToPDF", printBackground=True)["data"]
        self.assertGreater(len(printed), 20_000)
        self.assertEqual(self.browser.run("return document.documentElement.dataset.theme ?? null"), None)
        self.expect_quiet()


if __name__ == "__main__":
    unittest.main()
