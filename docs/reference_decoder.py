#!/usr/bin/env python3
"""Reference decoder of Orvane video. Read it beside frame-format.md and avi-files.md, whose names it uses.

    reference_decoder.py FILE [-o OUT.raw]

FILE is an AVI file or a stream of test vectors. Prints a line for the configuration record and one for each frame: its
result (0, -2 or -3, or "repeated" if it has no bytes), the SHA-256 of the picture, and what the checksums of the file
say. OUT.raw takes the pictures, unpadded and top-down. Exits with 1 if a frame is refused or contradicts its checksums.
"""
import hashlib, itertools, os, struct, sys

FOREIGN, DAMAGED = -2, -3  # results
MAGIC, MAX_RECORD, MAX_BLOCKS, LIMIT = b"ORVN", 32 + 4 * 512, 1 << 20, 12
RAW_ONLY = [(b"", 0)] * (1 << LIMIT)  # a coder of the record without a code
FORMATS = {  # by format code: FourCC, planes, horizontal and vertical subsampling of planes 1 and 2
    101: (b"O8RG", 3, 1, 1), 102: (b"O8RA", 4, 1, 1), 103: (b"O8Y4", 3, 1, 1), 104: (b"O8Y2", 3, 2, 1),
    105: (b"O8Y0", 3, 2, 2), 106: (b"O8YA", 4, 1, 1), 107: (b"O8G0", 1, 1, 1)}
FOURCCS = {entry[0] for entry in FORMATS.values()} | {b"ORVN"}

class Refused(Exception):
    """A frame that is not decoded; the argument is its result."""

def require(condition, result=DAMAGED):
    if not condition:
        raise Refused(result)

def word(data, at, size=8):
    return int.from_bytes(data[at:at + size], "little")

# ---- Header, configuration record ----
class Header:
    """The 32 bytes that open a frame, and that are the configuration record of a stream."""
    def __init__(self, data):
        (self.magic, self.header_size, self.version, self.format_code, self.max_code_length, self.color_matrix,
         self.flags, self.width, self.height, _, self.block_height) = struct.unpack_from("<4sI4B5I", data)
        self.interlaced = self.flags >> 1 & 1
        self.coder_type = self.flags >> 20 & 15 if self.version >= 7 else 1 + (self.flags & 1)
        matrix = 2 if self.color_matrix < 3 and self.format_code in (101, 102) else self.color_matrix or 2
        # What a frame and the configuration record have in common.
        self.identity = (self.format_code, self.max_code_length, matrix, self.flags & 6, self.width, self.height,
                         self.coder_type)

def accepts_record(data):
    """Whether bytes are a configuration record of a stream that can be decoded."""
    if not 32 <= len(data) <= MAX_RECORD or data[:4] != MAGIC:
        return False
    record = Header(data)
    if (record.header_size != len(data) or record.version > 7 or record.format_code not in FORMATS
            or record.max_code_length != LIMIT or record.color_matrix > 2):
        return False
    _, planes, horizontal, vertical = FORMATS[record.format_code]
    return (record.width % horizontal == 0 and record.height % (vertical << record.interlaced) == 0
            and record.width * record.height * (1 if record.format_code >= 103 else 4) < 1 << 31
            and count_bands(record, record.block_height) * planes <= MAX_BLOCKS)

def count_bands(record, block_height):
    return -(-record.height // block_height) if block_height else 0

# ---- Code lengths and codes ----
def read_lengths(data, at):
    """The 256 lengths of the table at `at`, and the place after it; ends in 0, which is no length, if it is cut off."""
    lengths = []
    while len(lengths) < 256 and at + (data[at:at + 1] >= b"\x80") < len(data):
        run = data[at] >> 7
        lengths += [data[at] & 127] * (1 + (data[at + 1] if run else 0))
        at += 1 + run
    # A run that would pass the last entry is cut; nothing follows on a table that is cut off.
    return (lengths[:256], at) if len(lengths) >= 256 else (lengths + [0], len(data))

def build_code(lengths):
    """The decode table of a code: for the next 12 bits the symbols in them and their bits; none if it is no code."""
    if min(lengths) < 1 or max(lengths) > LIMIT:
        return None
    first, last = [None] * (1 << LIMIT), -1  # the first symbol in 12 bits, and its length
    for length in range(LIMIT, 0, -1):
        for symbol in (s for s in range(256) if lengths[s] == length):
            last += 1
            if last >> length:
                return None
            room = 1 << LIMIT - length
            first[last * room:(last + 1) * room] = [(symbol, length)] * room
        last >>= 1
    table = []
    for value in range(1 << LIMIT):
        symbols, used = b"", 0
        while (entry := first[value << used & 0xFFF]) and used + entry[1] <= LIMIT:
            symbols, used = symbols + bytes((entry[0],)), used + entry[1]
        table.append((symbols, used))
    return table

def decode_symbols(table, payload, count):
    """The symbols of a coded block, and whether all of its bits are codes. Bits past the payload's end are zeros."""
    out, total, bits, held, at = [], 0, 0, 0, 0
    while total < count:
        if held < LIMIT:
            more = int.from_bytes(payload[at:at + 8].ljust(8, b"\0"), "big")
            bits, held, at = (bits & 0xFFF) << 64 | more, held + 64, at + 8
        symbols, used = table[bits >> held - LIMIT & 0xFFF]
        if not symbols:
            return b"".join(out).ljust(count, b"\0"), False
        out.append(symbols)
        total += len(symbols)
        held -= used
    return b"".join(out)[:count], True

# ---- Predictors ----
def unpredict(rows, predictor):
    """Turns residuals into samples, in place. `rows` are those of a block, or of one field of it."""
    above = None
    for row in rows:
        if predictor == 1 or above is None:  # Left, and the first row of all predictors
            row[0] = row[0] + (above[0] if above else 0) & 255
            row[:] = bytes(x & 255 for x in itertools.accumulate(row))
        elif predictor == 2:  # Gradient: sample - T is the sum of the residuals up to here
            row[:] = bytes(x + t & 255 for x, t in zip(itertools.accumulate(row), above))
        else:  # Median
            left = top_left = above[0]
            for column, (residual, top) in enumerate(zip(row, above)):
                gradient = left + top - top_left & 255
                low, high = (left, top) if left < top else (top, left)
                left = residual + (low if gradient < low else high if gradient > high else gradient) & 255
                row[column], top_left = left, top
        above = row

# ---- Pictures ----
def native_planes(record, planes):
    """The planes of the native layout, unpadded; one for packed pixels. `planes` are those of the frame, as rows."""
    first, *others = (b"".join(rows) for rows in planes)
    if record.format_code in (103, 105, 107):  # planar
        return [first] + others
    if record.format_code in (101, 102):  # B - G, G, R - G, A become B, G, R, A
        blue, red = (bytes(x + g & 255 for x, g in zip(plane, others[0])) for plane in (first, others[1]))
        channels = [blue, others[0], red] + others[2:]
    elif record.format_code == 104:  # Y U Y V
        channels = [first[0::2], others[0], first[1::2], others[1]]
    else:  # A Y U V
        channels = [others[2], first, others[0], others[1]]
    picture = bytearray(sum(map(len, channels)))
    for place, channel in enumerate(channels):
        picture[place::len(channels)] = channel
    return [bytes(picture)]

# ---- Frames ----
class Decoder:
    """Decodes the frames of one stream, in order."""
    def __init__(self, record):
        self.record = Header(record)
        width, height = self.record.width, self.record.height
        _, self.planes, horizontal, self.vertical = FORMATS[self.record.format_code]
        self.sizes = [(width // horizontal, height // self.vertical) if plane in (1, 2) else (width, height)
                      for plane in range(self.planes)]
        self.coders, at = [None] * self.planes, 32
        for plane in range(self.planes if self.record.coder_type == 1 else 0):
            lengths, at = read_lengths(record, at)
            self.coders[plane] = build_code(lengths) or RAW_ONLY
        self.make_list(self.record.block_height)
    def make_list(self, block_height):
        """The block list: plane, first plane row and rows of each block."""
        self.blocks = []
        for plane, (_, rows) in enumerate(self.sizes):
            step = min(block_height, self.record.height) // (self.vertical if plane in (1, 2) else 1)
            for band in range(count_bands(self.record, block_height)):
                self.blocks.append((plane, band * step, min(step, rows - band * step)))
    def parse_header(self, frame):
        """The place of the offset table and the block height."""
        require(len(frame) >= 4)
        if frame[:4] != MAGIC:  # headerless
            return 0, self.record.block_height
        require(len(frame) >= 32 and word(frame, 4, 4) <= len(frame))
        header = Header(frame)
        require(header.version <= 7 and header.identity == self.record.identity, FOREIGN)
        return header.header_size, header.block_height or self.record.block_height
    def locate_blocks(self, frame, table):
        """Start and end of each block of the list."""
        count, size = len(self.blocks), len(frame)
        require(count == 0 or table + 4 * (count + 1) <= size)
        starts = [table + word(frame, table + 4 * (i + 1), 4) for i in range(count)]
        require(max(starts, default=0) <= size)
        return [(start, after if after >= start else size) for start, after in zip(starts, starts[1:] + [-1])]
    def read_coders(self, frame, table):
        """The coder of each block: those of the record, or from the coder section."""
        if self.record.coder_type != 2:
            return [self.coders[block[0]] for block in self.blocks]
        count, at = len(self.blocks), table + 4 * (len(self.blocks) + 1)
        require(at + 1 + count <= len(frame))
        coder_count, ids = frame[at], frame[at + 1:at + 1 + count]
        if any(i >= coder_count for i in ids):
            require(coder_count == self.planes)
            ids = [block[0] for block in self.blocks]
        at, codes = at + 1 + count, []
        for _ in range(coder_count):
            lengths, at = read_lengths(frame, at)
            codes.append(build_code(lengths))
        require(None not in codes)
        return [codes[i] for i in ids]
    def decode(self, frame):
        """The picture of a frame, the places of its blocks, and whether the format specifies all of its samples."""
        table, block_height = self.parse_header(frame)
        bands = count_bands(self.record, block_height)
        if block_height != self.record.block_height:
            count = bands * self.planes
            require(count <= MAX_BLOCKS and (count == 0 or table + 4 * (count + 1) <= len(frame)))
            if count != len(self.blocks):
                self.make_list(block_height)
        places = self.locate_blocks(frame, table)
        coders = self.read_coders(frame, table)
        planes, specified = [[bytearray(width) for _ in range(rows)] for width, rows in self.sizes], True
        for plane, band in itertools.product(range(self.planes), range(bands)):
            index = plane * bands + band
            if index < len(self.blocks) and self.blocks[index][0] == plane:
                _, first, count = self.blocks[index]
                specified &= self.decode_block(frame, places[index], coders[index], planes[plane][first:first + count])
        return native_planes(self.record, planes), places, specified
    def decode_block(self, frame, place, coder, rows):
        start, end = place
        flags, predictor = frame[start:start + 2].ljust(2, b"\0")
        size = sum(map(len, rows))
        residuals, specified = bytes(size), True
        if coder and flags & 1:  # raw
            residuals = frame[start + 2:start + 2 + size].ljust(size, b"\0")
        elif coder and coder is not RAW_ONLY:
            residuals, specified = decode_symbols(coder, frame[start + 2:max(start + 2, end)], size)
        for index, row in enumerate(rows):
            row[:] = residuals[index * len(row):(index + 1) * len(row)]
        pairs = len(rows) // 2 * 2  # an odd last row belongs to neither field
        for part in (rows[0:pairs:2], rows[1:pairs:2]) if self.record.interlaced else (rows,):
            unpredict(part if size else (), predictor)
        return specified

# ---- XXH3, 64 bits, seed 0 ----
SECRET = bytes.fromhex(
    "b8fe6c3923a44bbe7c01812cf721ad1cded46de9839097db7240a4a4b7b3671fcb79e64eccc0e578825ad07dccff7221b8084674f743248e"
    "e03590e6813a264c3c2852bb91c300cb88d0658b1b532ea371644897a20df94e3819ef46a9deacd8a8fa763fe39c343ff9dcbbc7c70b4f1d"
    "8a51e04bcdb45931c89f7ec9d9787364eac5ac8334d3ebc3c581a0fffa1363eb170ddd51b7f0da49d316552629d4689e2b16be587d47a1fc"
    "8ff8b8d17ad031ce45cb3a8f95160428afd7fbcabb4b407e")
M32, M64 = (1 << 32) - 1, (1 << 64) - 1
P1, P2, P3 = 0x9E3779B185EBCA87, 0xC2B2AE3D27D4EB4F, 0x165667B19E3779F9
LANES = (0xC2B2AE3D, P1, P2, P3, 0x85EBCA77C2B2AE63, 0x85EBCA77, 0x27D4EB2F165667C5, 0x9E3779B1)

def mix(data, at, secret):
    product = (word(data, at) ^ word(SECRET, secret)) * (word(data, at + 8) ^ word(SECRET, secret + 8))
    return product & M64 ^ product >> 64

def stir(value, steps=((37, 0x165667919E3779F9), (32, 1))):
    for shift, factor in steps:
        value = ((value & M64) ^ (value & M64) >> shift) * factor
    return value & M64

def xxh3(data):
    n = len(data)
    if n <= 3:
        value = word(SECRET, 56) ^ word(SECRET, 64)
        if n > 0:
            value = data[0] << 16 | data[n // 2] << 24 | data[n - 1] | n << 8
            value ^= word(SECRET, 0, 4) ^ word(SECRET, 4, 4)
        return stir(value, ((33, P2), (29, P3), (32, 1)))
    if n <= 8:
        value = word(data, n - 4, 4) + (word(data, 0, 4) << 32) ^ word(SECRET, 8) ^ word(SECRET, 16)
        value ^= (value << 49 | value >> 15) ^ (value << 24 | value >> 40)
        value = (value & M64) * 0x9FB21C651E98DF25 & M64
        return stir(value ^ (value >> 35) + n, ((64, 0x9FB21C651E98DF25), (28, 1)))
    if n <= 16:
        low = word(data, 0) ^ word(SECRET, 24) ^ word(SECRET, 32)
        high = word(data, n - 8) ^ word(SECRET, 40) ^ word(SECRET, 48)
        swapped = int.from_bytes(low.to_bytes(8, "little"), "big")
        return stir(n + swapped + high + (low * high & M64 ^ low * high >> 64))
    if n > 240:
        return xxh3_long(data, n)
    if n <= 128:
        parts = [mix(data, 16 * i, 32 * i) + mix(data, n - 16 - 16 * i, 32 * i + 16) for i in range((n + 31) // 32)]
        return stir(n * P1 + sum(parts))
    value = stir(n * P1 + sum(mix(data, 16 * i, 16 * i) for i in range(8)))
    value += sum(mix(data, 16 * i, 16 * i - 125) for i in range(8, n // 16))
    return stir(value + mix(data, n - 16, 119))

def xxh3_long(data, n):
    keys, acc = [word(SECRET, 8 * (stripe + lane)) for stripe in range(16) for lane in range(8)], list(LANES)
    def add(at, stripes, keys):
        values = struct.unpack_from(f"<{8 * stripes}Q", data, at)
        products = [(x & M32) * (x >> 32) for x in map(int.__xor__, values, keys)]
        for lane in range(8):
            acc[lane] = acc[lane] + sum(products[lane::8]) + sum(values[lane ^ 1::8]) & M64
    blocks = (n - 1) // 1024
    for block in range(blocks):
        add(1024 * block, 16, keys)
        acc = [(x ^ x >> 47 ^ word(SECRET, 128 + 8 * lane)) * LANES[7] & M64 for lane, x in enumerate(acc)]
    add(1024 * blocks, (n - 1 - 1024 * blocks) // 64, keys)
    add(n - 64, 1, [word(SECRET, 121 + 8 * lane) for lane in range(8)])
    return stir(n * P1 + sum(mix(struct.pack("<8Q", *acc), i, 11 + i) for i in range(0, 64, 16)))

# ---- AVI files ----
def chunks_of(data, at=0):
    """Place, identifier and payload of every chunk; lists and segments are entered."""
    while 0 <= at <= len(data) - 8:
        name, size = data[at:at + 4], word(data, at + 4, 4)
        if name in (b"RIFF", b"LIST"):
            at += 12
        elif at + 8 + size > len(data):  # cut off or broken: salvage goes on at the next chunk of a frame
            at = data.find(MAGIC, at + 9) - 8
        else:
            yield at, name, data[at + 8:at + 8 + size]
            at += 8 + size + size % 2

def read_avi(data):
    """Configuration record, frames and checksum chunks of the first stream of this codec."""
    number, ours, names, record, frames, sums, index = -1, b"", set(), b"", {}, [], []
    for at, name, payload in chunks_of(data):
        if name == b"strh":
            number, names = number + 1, {payload[4:8].upper()} if payload[:4] == b"vids" else set()
        elif name == b"strf" and not ours and names and (names | {payload[16:20].upper()}) & FOURCCS:
            ours, record = b"%02d" % number, payload[40:]
        elif name in (ours + b"dc", ours + b"db"):
            frames[at] = payload
        elif name == b"Osum":
            sums.append(payload)
        elif name == b"idx1":
            entries = struct.iter_unpack("<4s3I", payload[:len(payload) & -16])
            index = [place for chunk, _, place, _ in entries if chunk[:2] == ours]
    # An index that leads to every frame gives their order. Its places count from the start of the file, or from movi.
    places = [place - min(index) + min(frames, default=0) for place in index]
    order = places if set(places) == set(frames) else frames
    return record[:max(32, word(record, 4, 4))], [frames[place] for place in order], sums

def read_checksums(sums):
    """The entries of all sound chunks: size and hash of the frame, hash of the picture, of bands, of blocks."""
    entries = []
    for chunk in sums:
        if word(chunk, 0) != xxh3(chunk[8:]) or word(chunk, 8) != 28 << 32 | 1:
            print("checksums: damaged")
            continue
        _, bands, blocks = struct.unpack_from("<III", chunk, 16)
        for values in struct.iter_unpack(f"<IQQ{bands}Q{blocks}I", chunk[28:]):
            entries.append((*values[:3], values[3:3 + bands], values[3 + bands:]))
    return entries

def match_frames(frames, entries):
    """The entry of each frame, or none. A frame of other bytes takes the one that its neighbours leave."""
    known, matches, expected = {entry[1]: i for i, entry in reversed(list(enumerate(entries)))}, [], 0
    def take(frame, index):
        if (matches[frame] is None and 0 <= index < len(entries) and index not in matches
                and entries[index][0] == len(frames[frame])):
            matches[frame] = index
        return index if matches[frame] is None else matches[frame]
    for value in map(xxh3, frames):
        right = expected < len(entries) and entries[expected][1] == value
        matches.append(expected if right else known.get(value))
        expected = (expected if matches[-1] is None else matches[-1]) + 1
    expected = 0
    for frame in range(len(frames)):
        expected = take(frame, expected) + 1
    for frame in range(len(frames) - 1, 0, -1):
        take(frame - 1, -1 if matches[frame] is None else matches[frame] - 1)
    return matches

def check(decoder, frame, planes, places, entry):
    """What a decoded frame is by its checksums."""
    height = decoder.record.height
    bands = [b"".join(plane[len(plane) * row // height:len(plane) * (row + 28) // height] for plane in planes)
             for row in range(0, height, 28)]  # for each 28 picture rows their bytes out of each plane
    found = {"size": len(frame), "hash": xxh3(frame), "picture": xxh3(b"".join(planes)),
             "bands": tuple(map(xxh3, bands)), "blocks": tuple(xxh3(frame[a:b]) & M32 for a, b in places)}
    wrong = [name for (name, value), stored in zip(found.items(), entry) if value != stored]
    return "contradicts its " + ", ".join(wrong) if wrong else "checksums hold"

# ---- The program ----
def read_stream(data):
    """Configuration record and frames of a stream of test vectors."""
    parts = []
    while data:
        parts, data = parts + [data[4:4 + word(data, 0, 4)]], data[4 + word(data, 0, 4):]
    return parts[0], parts[1:], []

def main(path, option="-o", out=os.devnull):
    data = open(path, "rb").read()
    record, frames, sums = read_avi(data) if data[:4] == b"RIFF" else read_stream(data)
    if not accepts_record(record):
        return print("record: refused") or 1
    print("record: accepted")
    decoder, entries, faults, picture = Decoder(record), read_checksums(sums), 0, b""
    matches = iter(match_frames([frame for frame in frames if frame], entries))
    with open(out, "wb") as pictures:
        for number, frame in enumerate(frames):
            result, remark = "repeated" if picture else "no picture", ""
            if frame:
                entry = next(matches)
                try:
                    planes, places, specified = decoder.decode(frame)
                    result, picture = "0" if specified else "0 unspecified", b"".join(planes)
                    if entry is not None:
                        remark = check(decoder, frame, planes, places, entries[entry])
                    faults += remark.startswith("contradicts")
                except Refused as refused:
                    result, faults = str(refused), faults + 1
            digest = hashlib.sha256(picture).hexdigest() if result in ("0", "repeated") else ""
            print(f"frame {number}: {result} {digest} {remark}".rstrip())
            pictures.write(picture)
    return 1 if faults else 0

if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
