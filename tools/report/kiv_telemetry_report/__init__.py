"""Aggregates events of libkivtelemetry and writes a page about them.

    files ──▶ lines ──▶ events ──▶ totals by key and time ──▶ sections ──▶ one page
       reading.py   events.py   summary.py            views.py       page.py
                                tallies.py            charts.py      markup.py
                                timeline.py           texts.py
                                facts.py

The sections are tables of all events. Where scripts run, the page's script draws charts from the cells
of facts.py, and replaces the tables when the reader sets a filter.
"""
