#!/usr/bin/env python3
"""Writes the spectra of an mzML file whose retention time falls in [first, last) seconds as a
smaller, unindexed mzML file: the cut-down runs the workflow test uses.

    cut_mzml.py <in.mzML> <out.mzML> <first seconds> <last seconds>
"""
import re
import sys

source, target, first, last = sys.argv[1], sys.argv[2], float(sys.argv[3]), float(sys.argv[4])
text = open(source, encoding="latin-1").read()
head_end = text.index("<spectrumList")
list_open_end = text.index(">", head_end) + 1
list_close = text.index("</spectrumList>")
spectra = re.findall(r"[ \t]*<spectrum .*?</spectrum>\n", text[list_open_end:list_close], re.S)
kept = []
for spectrum in spectra:
    time = float(re.search(r'name="scan start time" value="([0-9.eE+-]+)"', spectrum).group(1))
    if first <= time < last:
        kept.append(re.sub(r' index="\d+"', f' index="{len(kept)}"', spectrum, count=1))
head = text[:list_open_end]
head = re.sub(r'<spectrumList count="\d+"', f'<spectrumList count="{len(kept)}"', head)
# Unindexed: drop the indexedmzML wrapper around <mzML>.
head = re.sub(r"<indexedmzML[^>]*>\s*", "", head)
tail = text[list_close:text.index("</mzML>") + len("</mzML>")] + "\n"
with open(target, "w", encoding="latin-1") as out:
    out.write(head + "\n" + "".join(kept) + tail)
print(f"{target}: {len(kept)} of {len(spectra)} spectra")
