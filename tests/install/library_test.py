# SPDX-License-Identifier: Apache-2.0
"""What the built library shows to a linker: exports, dependencies, writable bytes.

Environment: ARVESSA_LIBRARY, the shared object; PYTHONPATH with built_library.py.
"""

import os
import unittest

from built_library import EXPORTS, LOG_FUNCTION, BuiltLibrary

LIBRARY = BuiltLibrary(os.environ["ARVESSA_LIBRARY"])

# All that the library may take from the platform: block memory functions, and for the log line's
# stand-in the C library's standard error. Nothing here allocates, locks or opens.
ALLOWED_UNDEFINED = {"memcpy", "memmove", "memset", "fprintf", "vsnprintf", "stderr", "fputc",
                     "fwrite", "__vsnprintf_chk", "__fprintf_chk",
                     "raise"}  # by the compiler's division by zero on ARM
ALLOWED_NEEDED = r"libc\.so\.6|libm\.so\.6|ld-linux.*\.so\.\d|ld64?\.so\.\d"


class Library(unittest.TestCase):
    def test_exports_are_the_committed_list_and_the_log_stand_in(self):
        self.assertEqual(len(EXPORTS), 123)
        exported = LIBRARY.symbols(defined=True)
        self.assertEqual(exported.pop(LOG_FUNCTION), ("FUNC", "WEAK"))
        self.assertEqual(set(exported), EXPORTS)
        for name, symbol in exported.items():
            is_table = "TABLE" in name or "CONST" in name or name == "u8BitRTab"
            self.assertEqual(symbol, ("OBJECT" if is_table else "FUNC", "GLOBAL"), name)

    def test_depends_on_the_c_library_only(self):
        self.assertEqual(LIBRARY.entries("SONAME"), ["libArvessa_ANDROID.so"])
        self.assertIn("libc.so.6", LIBRARY.entries("NEEDED"))
        for name in LIBRARY.entries("NEEDED"):
            self.assertRegex(name, ALLOWED_NEEDED)
        self.assertLessEqual(set(LIBRARY.symbols(defined=False)), ALLOWED_UNDEFINED)

    def test_runs_nothing_when_loaded_and_has_no_writable_data(self):
        self.assertEqual(LIBRARY.loading_code() + LIBRARY.writable_sections(), [])
