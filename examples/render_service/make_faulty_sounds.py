#!/usr/bin/env python3
"""Makes two sound files that the rendering service refuses, so that the demo has errors to report."""

import pathlib
import sys
import wave

directory = pathlib.Path(sys.argv[1])
(directory / "not_audio.wav").write_text("this is not audio\n", encoding="utf-8")
with wave.open(str(directory / "slow.wav"), "wb") as slow:
    slow.setparams((1, 2, 1000, 0, "NONE", ""))
    slow.writeframes(bytes(2000))
