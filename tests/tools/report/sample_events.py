"""Events for tests. As a program, writes files of them.

Usage: sample_events.py BUSY_LAB HOSTILE
"""

import json
import random
import sys

NOON = 1_750_000_000_000 - 1_750_000_000_000 % 86_400_000 + 43_200_000
WINDOW = 5000
SESSION = "11111111-1111-4111-8111-111111111111"

# Reported texts that try to inject code into a page.
HOSTILE = (
    "</script><script>window.hurt = 1</script>",
    "<img src=x onerror='window.hurt = 1'>",
    "\"><svg onload=window.hurt=1>",
    "<!--<script>",
    "javascript:window.hurt=1",
    "datum.x']; window.hurt = 1; //",
    "&lt;b&gt; {{7*7}} ${7*7} %s",
    "\u202egnp.exe\u2066",
    "half a pair \ud800, nothing \u0000, a bell \u0007",
    "https://elsewhere.example/picture.png",
)


def event(name, end, count, method="COUNT", session=SESSION, **fields):
    return {"event": name, "start_time_since_epoch": end - WINDOW, "end_time_since_epoch": end,
            "aggregated_count": count, "aggregation_method": method, "kiv_session_id": session,
            **fields}


def error(code="kiv.MMAP_FAILED", count=1, severity=2, kiv_class="Mixer", api="render", end=NOON,
          **common):
    return event("wexo_kiv_error_code", end, count, kiv_error_code=code, severity=severity,
                 kiv_class=kiv_class, kiv_api=api, **common)


def stream(name="open", count=1, stream_type="KIV_STREAM_TYPE_OBJECT", end=NOON, **fields):
    pcm = {"pcm_format": "AUDIO_FORMAT_PCM_16_BIT", "sample_rate": 48000, "channels": 2,
           "samples": 480, "interleaved": 1, **fields}
    return event("wexo_kiv_stream_event", end, count, kiv_event=name, stream_type=stream_type,
                 **pcm)


def latency(count=1, end=NOON, **common):
    return event("", end, count, "AVG", **common)


def value(name, count=1, method="AVG", end=NOON, integer=0, real=0.0, text="", **common):
    return event("wexo_kiv_generic", end, count, method, kiv_event_name=name, value_int=integer,
                 value_float=real, value_string=text, **common)


def trace(api, mean, count=1, **common):
    return value(f"api_latency_us.{api}", count, integer=mean, **common)


def call(api, result, count=1, **common):
    return value(f"client_api_call.{api}", count, "COUNT", text=result, **common)


def lines(events):
    return b"".join(json.dumps(each).encode() + b"\n" for each in events)


def busy_lab(windows=240):
    """Twenty minutes of three processes, in two of which errors come in a burst."""
    chance = random.Random(7)
    for window in range(windows):
        end = NOON + window * WINDOW
        for process in range(3):
            session = f"{process:08x}-0000-4000-8000-000000000000.{process:08x}-1"
            at = {"end": end, "session": session}
            load = 1 + 4 * (60 <= window < 90)
            yield trace("renderBlock", chance.randint(150, 260) * load, 468, **at)
            yield trace("openStream", chance.randint(2000, 9000), chance.randint(1, 4), **at)
            yield trace("decodeBlock", chance.randint(40, 60), 468, **at)
            yield latency(468, **at)
            yield value("cpu_load_percent", 468, real=chance.uniform(4, 9) * load, **at)
            yield value("queue_depth", 468, "MAX", integer=chance.randint(1, 6) * load, **at)
            yield value("frames_rendered", 468, "SUM", integer=468 * 480, **at)
            yield call("openStream", chance.choice(["ok", "ok", "ok", "failed"]), 2, **at)
            yield call("closeStream", "ok", 2, **at)
            for name in ("open", "start", "stop", "close"):
                yield stream(name, 2, chance.choice(["KIV_STREAM_TYPE_OBJECT",
                                                     "KIV_STREAM_TYPE_AMBISONIC"]), **at)
            if load > 1:
                failures = chance.randint(3, 40)
                yield error("kiv.MMAP_FAILED=-12", failures, 2, "Mixer", "render", **at)
                yield error("android.TIMED_OUT", chance.randint(1, 5), 1, "Worker", "post", **at)
            if window == 75:
                yield error("kiv.ASSERTION_FAILED", 1, 3, "Mixer", "renderBlock", **at)
            yield error(f"kiv.SLOW_{chance.randint(1, 30)}", 1, chance.choice([0, 1]), "Client",
                        f"call{chance.randint(1, 20)}", **at)
            yield value("container_format", 1, "COUNT", text=chance.choice(["WAV", "FLAC", "OGG"]),
                        **at)


def hostile(end=NOON):
    for text in HOSTILE:
        yield error(text, 50, 2, text, text, end=end)
        yield stream(text, 500, text, end=end, pcm_format=text)
        yield trace(text, 700_000, 9, end=end)
        yield call(text, text, 600, end=end)
        yield value(text, 200_000, "MAX", integer=5, end=end - WINDOW)
        yield value(text, 200_000, "MAX", integer=7, end=end)
        yield value(text, 300, "COUNT", text=text, end=end, session=text)
        yield event(text, end, 3, text)


if __name__ == "__main__":
    with open(sys.argv[1], "wb") as file:
        file.write(lines(busy_lab()))
    with open(sys.argv[2], "wb") as file:
        file.write(lines(hostile()))
        file.write(b"{\"event\": \"torn\n<b>not JSON</b>\n[]\n")
