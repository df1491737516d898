"""Folds events of libkivtelemetry and writes a page about them.

    files ──▶ lines ──▶ events ──▶ sums by key and time ──▶ sections ──▶ one page
       reading.py   events.py   summary.py           views.py       page.py
                                tallies.py           charts.py      markup.py
                                timeline.py          texts.py
"""
