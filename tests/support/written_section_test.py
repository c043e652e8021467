#!/usr/bin/env python3
"""What a script wrote into a page is replaced, and nothing else of it.

    written_section_test.py
"""

import unittest

from written_section import replaced

PAGE = """# Page
<!-- one: written by script/one -->
old
<!-- /one -->
between
<!-- two: written by script/two -->
<!-- /two -->
end
"""


class WrittenSection(unittest.TestCase):
    def test_only_the_named_place_changes(self):
        self.assertEqual(replaced(PAGE, "one", "\nnew\nlines\n\n"), PAGE.replace("old\n", "new\nlines\n"))
        self.assertEqual(replaced(PAGE, "two", "new"), PAGE.replace("script/two -->\n", "script/two -->\nnew\n"))

    def test_writing_twice_is_writing_once(self):
        once = replaced(PAGE, "one", "new")
        self.assertEqual(replaced(once, "one", "new"), once)

    def test_a_text_with_signs_of_a_pattern_stays_as_it_is(self):
        self.assertIn("\n\\1 \\g<0> $\n", replaced(PAGE, "one", r"\1 \g<0> $"))

    def test_a_page_without_one_such_place_is_refused(self):
        other_way_round = "<!-- /one -->\n<!-- one: written by script/one -->\n"
        for page in ("", PAGE + PAGE, PAGE + "<!-- /one -->\n", PAGE.replace("<!-- /one -->", ""),
                     PAGE.replace("<!-- one: ", "<!-- 1: "), other_way_round):
            with self.subTest(page), self.assertRaises(ValueError):
                replaced(page, "one", "new")


if __name__ == "__main__":
    unittest.main()
