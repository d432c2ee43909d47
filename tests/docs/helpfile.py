#!/usr/bin/python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""usage: helpfile.py FILE HEADERS SOURCES: whether the file for Qt's help finds what the public headers declare.

HEADERS has a header in the name of each of them. SOURCES is a folder of this machine, which the file must not name.
"""
import sqlite3
import sys
import zlib
from pathlib import Path

database = sqlite3.connect(f"file:{sys.argv[1]}?mode=ro", uri=True)
# What Qt Creator asks for under the cursor, and the pages behind it.
known = {name for (name,) in database.execute("SELECT Identifier FROM IndexTable")}
lower = {name.split("::")[-1].lower() for name in known}
namespace = database.execute("SELECT Name FROM NamespaceTable").fetchall()
pages = [zlib.decompress(data[4:]) for (data,) in database.execute("SELECT Data FROM FileDataTable WHERE Data NOT NULL")]
foreign = sum(sys.argv[3].encode() in page for page in pages)
names = sorted(path.name for path in Path(sys.argv[2]).iterdir())
missing = [name for name in names if name.lower() not in lower]
missing += [name for name in ("KelAccount::Client", "KelAccount::Client::registerAccount", "KelAccount::ErrorTimeout",
                              "KelAccount::KelAccounts::registerAccountResponse", "KelAccount::Failure::retryAfter")
            if name not in known]
print(f"{namespace}: {len(known)} names, {len(pages)} pages; missing: {missing}; {foreign} with a path of this machine")
sys.exit(1 if missing or foreign or not names or not pages or len(namespace) != 1 else 0)
