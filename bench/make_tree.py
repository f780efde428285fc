#!/usr/bin/env python3
"""Writes a tree of about ENTRIES items under ROOT: folders ten wide, small files in the
bottom folders.  usage: make_tree.py ROOT ENTRIES"""
import os
import sys


def main():
    root, entries = sys.argv[1], int(sys.argv[2])
    os.makedirs(root, exist_ok=True)
    # Levels of ten sub-folders each until the folders are about a tenth of the entries.
    levels, folders = 0, 0
    while folders + 10 ** (levels + 1) <= entries // 10:
        levels += 1
        folders += 10 ** levels
    leaves = [root]
    for _ in range(levels):
        nxt = []
        for parent in leaves:
            for i in range(10):
                path = os.path.join(parent, "d%d" % i)
                os.mkdir(path)
                nxt.append(path)
        leaves = nxt
    files = entries - folders
    payload = b"x" * 100
    for n in range(files):
        leaf = leaves[n % len(leaves)]
        fd = os.open(os.path.join(leaf, "f%06d.txt" % n), os.O_WRONLY | os.O_CREAT | os.O_EXCL, 0o644)
        os.write(fd, payload)
        os.close(fd)
    print("%d folders, %d files under %s" % (folders + 1, files, root))


if __name__ == "__main__":
    main()
