"""What is in a folder, to compare two of them by."""

import hashlib
import os
import stat


def contents(folder):
    """All that is in a folder, by path: mode, and digest of a file or target of a link."""
    found = {}
    for top, folders, files in os.walk(folder):
        for name in folders + files:
            path = os.path.join(top, name)
            mode = os.lstat(path).st_mode
            if stat.S_ISLNK(mode):
                inside = os.readlink(path)
            elif stat.S_ISREG(mode):
                with open(path, "rb") as file:
                    inside = hashlib.sha256(file.read()).hexdigest()
            else:
                inside = None
            found[os.path.relpath(path, folder)] = (mode, inside)
    return found
