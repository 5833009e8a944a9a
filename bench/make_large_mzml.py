#!/usr/bin/env python3
"""Writes a large mzML file for the extraction benchmark by repeating the spectra of a small run.

usage: make_large_mzml.py <input.mzML> <output.mzML> <target bytes> [acquisition|levels]

Each repetition shifts retention times past the previous one and gives every spectrum a new id.
"acquisition" (default) sorts each repetition by retention time and numbers ids
"controllerType=0 controllerNumber=1 scan=N" in that order, as a direct instrument conversion
does; "levels" keeps the input's layout (BSA1 lists all MS1 spectra first and numbers each level
on its own), so the extractor has to renumber the whole file. The output is indexed mzML with a
fresh offset index (some readers refuse mzML without one); spectrum count and indexes are
rewritten.
"""
import re
import sys

ID = re.compile(rb'id="[^"]*"')
INDEX = re.compile(rb'index="\d+"')
TIME = re.compile(rb'(name="scan start time" value=")([^"]+)(")')
REF = re.compile(rb' spectrumRef="[^"]*"')


def main():
    source, target, size = sys.argv[1], sys.argv[2], int(float(sys.argv[3]))
    layout = sys.argv[4] if len(sys.argv) > 4 else "acquisition"
    data = open(source, "rb").read()
    first = data.index(b"<spectrum ")
    line_start = data.rindex(b"\n", 0, first) + 1
    head = data[:line_start]
    end = data.index(b"</spectrumList>")
    body = data[line_start:end]
    # Keep the indexedmzML wrapper; the index itself is written anew at the end.
    wrapper = head[:head.index(b"<mzML")]
    tail = data[end:data.index(b"</mzML>")] + b"</mzML>\n"
    blocks = [b + b"</spectrum>\n" for b in body.split(b"</spectrum>\n") if b.strip()]
    times = [float(TIME.search(b).group(2)) for b in blocks]
    if layout == "acquisition":
        order = sorted(range(len(blocks)), key=lambda i: times[i])
        blocks = [blocks[i] for i in order]
        times = [times[i] for i in order]
    span = max(times) - min(times) + 10.0
    copies = max(1, -(-size // len(body)))
    head = re.sub(rb'<spectrumList count="\d+"', b'<spectrumList count="%d"' % (copies * len(blocks)), head)
    offsets = []
    with open(target, "wb") as out:
        out.write(head)
        position = len(head)
        number = 0
        for copy in range(copies):
            shift = copy * span
            for block, time in zip(blocks, times):
                number += 1
                if layout == "acquisition":
                    native = b"controllerType=0 controllerNumber=1 scan=%d" % number
                else:
                    old = int(re.search(rb'id="spectrum=(\d+)"', block).group(1))
                    native = b"spectrum=%d" % (old + copy * 10000)
                block = ID.sub(b'id="' + native + b'"', block, count=1)
                block = INDEX.sub(b'index="%d"' % (number - 1), block, count=1)
                block = REF.sub(b"", block)
                block = TIME.sub(lambda m: m.group(1) + repr(time + shift).encode() + m.group(3), block, count=1)
                offsets.append((native, position + block.index(b"<spectrum ")))
                out.write(block)
                position += len(block)
        out.write(tail)
        position += len(tail)
        if wrapper.strip():
            index = [b'<indexList count="1">\n\t<index name="spectrum">\n']
            index += [b'\t\t<offset idRef="%s">%d</offset>\n' % (n, o) for n, o in offsets]
            index.append(b"\t</index>\n</indexList>\n")
            index = b"".join(index)
            out.write(index)
            out.write(b"<indexListOffset>%d</indexListOffset>\n</indexedmzML>\n" % position)


if __name__ == "__main__":
    main()
