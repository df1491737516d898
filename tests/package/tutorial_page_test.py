"""Tests how a tutorial is read, and how output is compared with what it shows."""
import unittest

from tutorial_page import Commands, File, PageError, matches, read

COMMANDS = "```sh\nmake\n```\n"


class ReadTest(unittest.TestCase):
    def test_files_and_commands_come_in_their_order(self):
        steps = read(f"Text.\n\n`a.h`\n\n```cpp\nint a;\n```\n\n{COMMANDS}```text\nmade\n```\n")
        self.assertEqual(steps, [File(5, "a.h", "int a;\n", False),
                                 Commands(9, "make\n", False, "made\n")])

    def test_a_file_can_be_continued(self):
        step, = read("At the end of `a.h`:\n\n```cpp\nint b;\n```\n")
        self.assertEqual(step, File(3, "a.h", "int b;\n", True))

    def test_commands_can_use_the_terminal(self):
        step, = read("```sh interactive\nview\n```\n")
        self.assertTrue(step.interactive)

    def test_a_file_needs_a_name(self):
        with self.assertRaisesRegex(PageError, "line 3: .*neither a file nor commands"):
            read("The header:\n\n```cpp\nint a;\n```\n")

    def test_output_needs_its_commands(self):
        with self.assertRaisesRegex(PageError, "line 6: .*not below its commands"):
            read(f"{COMMANDS}It prints:\n\n```text\nmade\n```\n")

    def test_an_indented_block_is_refused(self):
        with self.assertRaisesRegex(PageError, "indented"):
            read(f"{COMMANDS}Then:\n\n    make install\n")


class MatchesTest(unittest.TestCase):
    def test_output_is_compared_as_a_whole(self):
        self.assertTrue(matches("a.b\nc\n", "a.b\nc\n"))
        for output in ("a.b\n", "a.b\nc\nd\n", "axb\nc\n", "c\na.b\n", ""):
            self.assertFalse(matches("a.b\nc\n", output), output)

    def test_an_ellipsis_is_text_of_one_line(self):
        self.assertTrue(matches("a … d\n", "a b c d\n"))
        self.assertFalse(matches("a … d\n", "a b\nc d\n"))

    def test_a_line_of_an_ellipsis_is_any_number_of_lines(self):
        for output in ("a\nd\n", "a\nb\nc\nd\n"):
            self.assertTrue(matches("a\n…\nd\n", output), output)
        self.assertFalse(matches("a\n…\nd\n", "a\nb\n"))

    def test_the_number_of_blanks_has_no_meaning(self):
        self.assertTrue(matches("a b\n", "   a    b \n"))
        self.assertFalse(matches("a b\n", "ab\n"))


if __name__ == "__main__":
    unittest.main()
