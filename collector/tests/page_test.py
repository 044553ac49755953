"""The page in a real browser: texts, charts, controls, and hostile labels."""
import unittest
import urllib.parse

from browser import Browser
from support import Collector, hit, lines

HOSTILE_TEXT = "</script><script>document.title=1</script><img src=x onerror=document.title=2>"
HOSTILE = urllib.parse.quote(HOSTILE_TEXT, safe="")
# Pixels of a canvas that are not transparent.
PAINTED = """(() => { const c = document.getElementById("%s");
    const pixels = c.getContext("2d").getImageData(0, 0, c.width, c.height).data;
    return pixels.filter((value, i) => i %% 4 == 3 && value).length; })()"""


class PageTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.collector = Collector()
        cls.addClassCleanup(cls.collector.remove)
        cls.collector.load(b"".join(
            lines([hit(f"m{n}") for n in range(40 + days)] + [hit(f"m{n}", label=HOSTILE, version="%3Cb%3E<b>&lt;",
                                                                  system="%3Cb%3E") for n in range(20)] +
                  [hit(f"m{n}", category="run", label="test", product="second") for n in range(30)], days)
            for days in (0, 1, 2, 40)))
        cls.browser = Browser()
        cls.addClassCleanup(cls.browser.close)

    def open(self, **options):
        self.browser.open(f"http://127.0.0.1:{self.collector.page_port}/", **options)

    def text(self, selector="body"):
        return self.browser.evaluate(f"document.querySelector({selector!r}).innerText")

    def test_page_fits_both_widths_and_shows_html_in_names_as_text(self):
        for width in (1280, 390):
            self.open(width=width)
            for selector, text in [("#features", HOSTILE_TEXT), ("#features", "editor.open.file"), ("#features", "42"),
                                   ("#unused", "debugger.attach"), ("#installations", "<b>")]:
                with self.subTest(width=width, text=text):
                    self.assertIn(text, self.text(selector))
            for canvas in ("most", "days", "months"):
                with self.subTest(width=width, canvas=canvas):
                    self.assertGreater(self.browser.evaluate(PAINTED % canvas), 1000)
            with self.subTest(width):
                self.assertEqual(self.browser.evaluate("document.title"), "Feature usage")
                self.assertLessEqual(self.browser.evaluate("document.documentElement.scrollWidth"), width)

    def test_choices_search_and_sorting_change_the_tables(self):
        self.open()
        rows = "[...document.querySelector('#features').tBodies[0].rows].map(row => row.cells[1].innerText).join()"
        change = "(() => { const e = document.getElementById('%s'); %s; e.dispatchEvent(new Event('%s')); })()"
        self.assertTrue(self.browser.evaluate(rows).startswith("editor.open.file,"))
        self.browser.evaluate("[...document.querySelectorAll('#features th button')][1].click()")
        self.assertTrue(self.browser.evaluate(rows).endswith("editor.open.file"))
        self.browser.evaluate(change % ("search", "e.value = 'OPEN'", "input"))
        self.assertEqual(self.browser.evaluate(rows), "editor.open.file")
        self.browser.evaluate(change % ("period", "e.selectedIndex = 1", "change"))
        self.assertIn("\t80\t", self.text("#features").replace("80 %", "80"))
        self.browser.evaluate(change % ("search", "e.value = ''", "input"))
        self.browser.evaluate(change % ("product", "e.value = 'second'", "change"))
        self.assertEqual(self.browser.evaluate(rows), "run.test")

    def test_the_tables_are_readable_without_scripts(self):
        self.open(scripts=False)
        for text in ("editor.open.file", "debugger.attach", "second", "<b>"):
            with self.subTest(text):
                self.assertIn(text, self.text("main"))
        self.assertFalse(self.browser.evaluate("!!document.querySelector('.controls').offsetParent"))
