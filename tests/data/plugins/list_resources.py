#!/usr/bin/python3
# Lists the resources of PE files with an independent reader (Debian's python3-pefile), one line
# per resource name: "FILE<TAB>TYPE<TAB>NAME<TAB>SIZE", integers written as "#123", in directory
# order, the size taken from the first language entry. The tests compare our reader with it.
import os
import sys

import pefile


def label(entry):
    return str(entry.name) if entry.name is not None else "#%d" % entry.id


for path in sys.argv[1:]:
    pe = pefile.PE(path, fast_load=True)
    pe.parse_data_directories(
        directories=[pefile.DIRECTORY_ENTRY["IMAGE_DIRECTORY_ENTRY_RESOURCE"]])
    resources = getattr(pe, "DIRECTORY_ENTRY_RESOURCE", None)
    for rtype in resources.entries if resources else []:
        for rname in rtype.directory.entries:
            size = rname.directory.entries[0].data.struct.Size
            print("%s\t%s\t%s\t%d" % (os.path.basename(path), label(rtype), label(rname), size))
