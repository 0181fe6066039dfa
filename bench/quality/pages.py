# SPDX-License-Identifier: Apache-2.0
"""Puts tables into the pages that want them, between two comments:

    <!-- table: NAME -->
    <!-- end -->
"""
import re

import case_tables
import grid_tables

PAGES = ("README.md", "docs/quality.md")
PLACE = re.compile(r"(<!-- table: (.+?) -->\n).*?(<!-- end -->)", re.DOTALL)


def write(grid, others, source):
    """Raises KeyError for a table that does not exist, ValueError if a table is in no page."""
    tables = {name: make(results)
              for module, results in ((grid_tables, grid), (case_tables, others))
              for name, make in module.TABLES.items()}
    placed = set()

    def filled(place):
        placed.add(place[2])
        return place[1] + "\n".join(tables[place[2]]) + "\n" + place[3]

    for page in PAGES:
        path = source / page
        path.write_text(PLACE.sub(filled, path.read_text(encoding="utf-8")), encoding="utf-8")
    if missing := set(tables) - placed:
        raise ValueError(f"no page has the tables {sorted(missing)}")
