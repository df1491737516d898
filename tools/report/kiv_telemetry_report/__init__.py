"""Folds events of libkivtelemetry and writes a page about them.

    files ──lines()──▶ parse() ──▶ Summary.add() ──▶ charts and tables ──▶ one page
          reading.py  events.py    summary.py        views.py             page.py
"""
