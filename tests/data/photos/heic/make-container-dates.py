#!/usr/bin/env python3
"""Makes the HEIF files whose only capture date is the container's own.

Each is a small HEIC made from IMG_5195.HEIC (scaled with libvips, all metadata stripped) with a
'moov' box appended after its image data, as image sequences and QuickTime files carry it:
- container-mvhd.heic: the movie header's creation time (UTC), 2023-07-01 08:20:30 UTC;
- container-keys.heic: that header set to 2020-01-01 00:00:00 UTC and, in the QuickTime
  metadata keys, com.apple.quicktime.creationdate "2023-07-01T10:20:30+0200", which wins.
HEIF readers skip boxes they do not know, so libvips decodes both; exiftool reads the dates.
Run from this folder: python3 make-container-dates.py
"""
import calendar
import struct
import subprocess


def box(kind, payload):
    return struct.pack('>I4s', 8 + len(payload), kind) + payload


def mvhd(utc):
    secs = calendar.timegm(utc) + 2082844800  # seconds from 1904-01-01 to 1970-01-01
    matrix = struct.pack('>9I', 0x10000, 0, 0, 0, 0x10000, 0, 0, 0, 0x40000000)
    return box(b'mvhd', struct.pack('>I4I', 0, secs, secs, 600, 0) +
               struct.pack('>IH', 0x10000, 0x100) + b'\0' * 10 + matrix + b'\0' * 24 +
               struct.pack('>I', 2))


def quicktime_keys(creation):
    hdlr = box(b'hdlr', b'\0' * 8 + b'mdta' + b'\0' * 12 + b'\0')
    key = b'com.apple.quicktime.creationdate'
    keys = box(b'keys', struct.pack('>II', 0, 1) + struct.pack('>I4s', 8 + len(key), b'mdta') + key)
    data = box(b'data', struct.pack('>II', 1, 0) + creation.encode())
    ilst = box(b'ilst', box(struct.pack('>I', 1), data))
    return box(b'meta', hdlr + keys + ilst)


subprocess.run(['vips', 'thumbnail', 'IMG_5195.HEIC', '/tmp/container-base.heic[Q=60,strip]',
                '160'], check=True)
with open('/tmp/container-base.heic', 'rb') as f:
    base = f.read()

with open('container-mvhd.heic', 'wb') as f:
    f.write(base + box(b'moov', mvhd((2023, 7, 1, 8, 20, 30))))
with open('container-keys.heic', 'wb') as f:
    f.write(base + box(b'moov', mvhd((2020, 1, 1, 0, 0, 0)) +
                       quicktime_keys('2023-07-01T10:20:30+0200')))
