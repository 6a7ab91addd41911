#!/usr/bin/python3
"""Regenerates the seed corpora in fuzz/corpus/ from the block descriptions in
fuzz/seeds/, written by vekgen.

    fuzz/make_corpus.py [VEKGEN]     (default: build/native/tools/vekgen/vekgen)

First it rewrites fuzz/seeds/sample-*.blocks: the first faces of each file of
the sample scene (samples/*.vek), with the points they use (renumbered),
their UVs, colours and mask bytes and any other block as it is. Then every
fuzz/seeds/*.blocks file becomes a Vek file, and each target gets the entries
its input format needs:

  fuzz_vek_readers   the Vek files
  fuzz_mrgb          the Vek files with colours, and raw colour words
  fuzz_scene_export  option byte, height (little-endian double) and one to
                     three files, each but the last after its 2-byte length
  fuzz_bbox_calls    a Vek file followed by the bytes of a few calls (read
                     from the end of the input)

The output depends only on the seeds, the samples and vekgen.
"""
import random
import shutil
import struct
import subprocess
import sys
import tempfile
from pathlib import Path

FUZZ = Path(__file__).resolve().parent
ROOT = FUZZ.parent
SEEDS = FUZZ / "seeds"
CORPUS = FUZZ / "corpus"

TAG_POINTS, TAG_FACE4, TAG_UV4, TAG_MASK, TAG_MRGB = 10001, 20001, 25001, 30001, 35001
SAMPLE_FACES = 24


def blocks_of(data):
    """(tag, count, body) of every block of a well-formed Vek file."""
    assert data[:4] == b"Vekb"
    pos, blocks = 32, []
    while True:
        tag, size, count, _ = struct.unpack_from("<4I", data, pos)
        if tag == 0:
            return blocks
        blocks.append((tag, count, data[pos + 16:pos + size]))
        pos += size


def numbers(fmt, body):
    return [v for (v,) in struct.iter_unpack(fmt, body)]


def text(values):
    return " ".join(repr(v) if isinstance(v, float) else str(v) for v in values)


def cut_sample(path):
    """A block description of the sample file's first faces."""
    blocks = blocks_of(path.read_bytes())
    by_tag = {tag: body for tag, _, body in blocks}
    faces = numbers("<i", by_tag[TAG_FACE4])[:4 * SAMPLE_FACES]
    used = []
    for index in faces:
        if index != -1 and index not in used:
            used.append(index)
    renumber = {old: new for new, old in enumerate(used)}
    points = numbers("<f", by_tag[TAG_POINTS])
    lines = [f"# The first {SAMPLE_FACES} faces of samples/{path.name}, made by fuzz/make_corpus.py."]
    for tag, count, body in blocks:
        if tag == TAG_POINTS:
            lines.append("points " + text(c for i in used for c in points[3 * i:3 * i + 3]))
        elif tag == TAG_FACE4:
            lines.append("face4 " + text(renumber.get(i, -1) for i in faces))
        elif tag == TAG_UV4:
            lines.append("uv4 " + text(numbers("<f", body)[:8 * SAMPLE_FACES]))
        elif tag == TAG_MRGB:
            words = numbers("<I", body)
            lines.append("mrgb " + " ".join(f"0x{words[i]:08x}" for i in used))
        elif tag == TAG_MASK:
            lines.append("mask " + text(body[i] for i in used))
        else:
            lines.append(f"block {tag} {count} {body.hex()}")
    lines.append("end")
    return "\n".join(lines) + "\n"


def scene_entry(options, height, files):
    entry = bytes([options]) + struct.pack("<d", height)
    for data in files[:-1]:
        entry += struct.pack("<H", len(data)) + data
    return entry + files[-1]


def write_corpus(target, entries):
    directory = CORPUS / target
    shutil.rmtree(directory, ignore_errors=True)
    directory.mkdir(parents=True)
    for name, data in entries.items():
        (directory / name).write_bytes(data)


def main():
    vekgen = Path(sys.argv[1] if len(sys.argv) > 1 else ROOT / "build/native/tools/vekgen/vekgen")
    for sample in sorted((ROOT / "samples").glob("*.vek")):
        (SEEDS / f"sample-{sample.stem}.blocks").write_text(cut_sample(sample))

    vek = {}
    with tempfile.TemporaryDirectory() as scratch:
        for seed in sorted(SEEDS.glob("*.blocks")):
            out = Path(scratch) / (seed.stem + ".vek")
            subprocess.run([str(vekgen), "blocks", str(out), str(seed)], check=True, stdout=subprocess.DEVNULL)
            vek[seed.stem] = out.read_bytes()

    write_corpus("fuzz_vek_readers", vek)

    colours = {name: data for name, data in vek.items() if struct.pack("<I", TAG_MRGB) in data}
    rng = random.Random(35001)
    colours["words-64"] = bytes(rng.randrange(256) for _ in range(64))
    colours["words-odd-tail"] = bytes(range(1, 12))
    write_corpus("fuzz_mrgb", colours)

    head, torso, base = vek["sample-head"], vek["sample-torso"], vek["sample-base"]
    nan = float("nan")
    write_corpus("fuzz_scene_export", {
        # options: bits 0-2 binary STL / ASCII STL / VRML (0: all), bit 3
        # colours, bits 4-5 the number of files - 1
        "sample-all-formats": scene_entry(0x28, 100.0, [head, torso, base]),
        "sample-vrml-colours": scene_entry(0x1C, 50.0, [head, base]),
        "sample-binary": scene_entry(0x01, 120.0, [torso]),
        "triangle-ascii": scene_entry(0x02, 10.0, [vek["triangle"]]),
        "height-zero": scene_entry(0x00, 0.0, [vek["quad-all-blocks"]]),
        "height-nan": scene_entry(0x08, nan, [vek["special-floats"]]),
        "height-negative": scene_entry(0x07, -5.0, [vek["bad-indices"]]),
        "height-huge": scene_entry(0x0C, 1e300, [vek["reversed-order"]]),
        "uv-carry-over": scene_entry(0x1C, 1.0, [vek["triangle"], vek["two-points-blocks"]]),
        "damaged-mix": scene_entry(0x20, 2.0, [vek["huge-count"], vek["short-body"], vek["size-below-16"]]),
        "missing-and-empty": scene_entry(0x1F, 3.0, [vek["bad-magic"], vek["empty-blocks"]]),
    })

    rng = random.Random(24)
    bbox = {}
    for name in ["sample-head", "triangle", "reversed-order", "points-count-negative", "points-chunk-short",
                 "bad-magic", "empty-blocks", "special-floats"]:
        bbox[name] = vek[name] + bytes(rng.randrange(256) for _ in range(160))
    write_corpus("fuzz_bbox_calls", bbox)


if __name__ == "__main__":
    main()
