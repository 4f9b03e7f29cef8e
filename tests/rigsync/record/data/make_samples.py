#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""Writes sample.json and sample_cbor.hex beside itself: a sample of OpenTrackIO in both encodings,
by the field names of OpenTrackIO 1.0.1, the CBOR by python3-cbor2 and as hexadecimal digits. The
tests read the files, so the package is needed only to make them anew.
"""
import json
import pathlib

import cbor2

FOLDER = pathlib.Path(__file__).parent

SAMPLE = {
    "protocol": {"name": "OpenTrackIO", "version": [1, 0, 1]},
    "sampleId": "urn:uuid:3c1a6cd6-20f2-4f0e-9d8c-54b6a4c6d5b1",
    "sourceId": "urn:uuid:0e8f6cb4-0a53-4e0c-a2a8-f1c4b8b6b0aa",
    "sourceNumber": 2,
    "tracker": {"notes": "rig", "recording": False, "slate": "A101", "status": "Optical Good"},
    "timing": {
        "mode": "internal",
        "sampleRate": {"num": 50, "denom": 1},
        "sampleTimestamp": {"seconds": 1763806893, "nanoseconds": 480000000},
        "sequenceNumber": 17,
        "synchronization": {"locked": True, "source": "ptp"},
        "timecode": {"hours": 10, "minutes": 21, "seconds": 33, "frames": 12,
                     "frameRate": {"num": 25, "denom": 1}, "dropFrame": False},
    },
    "lens": {"encoders": {"focus": 0.1, "iris": 0.2, "zoom": 0.3}},
    "transforms": [
        {"id": "Dolly", "translation": {"x": 1.0, "y": 2.0, "z": 3.0},
         "rotation": {"pan": 90.0, "tilt": 0.0, "roll": 0.0}},
        {"id": "Camera", "translation": {"x": 0.0, "y": 1.0, "z": 0.5},
         "rotation": {"pan": 0, "tilt": 30, "roll": -0.125}},
    ],
}

(FOLDER / "sample.json").write_text(json.dumps(SAMPLE, indent=1) + "\n")
HEX = cbor2.dumps(SAMPLE).hex()
LINES = [HEX[i:i + 64] for i in range(0, len(HEX), 64)]
(FOLDER / "sample_cbor.hex").write_text("\n".join(LINES) + "\n")
