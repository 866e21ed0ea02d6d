#!/usr/bin/env python3
"""Draws the menu that `shellprobe menu` reports (one JSON object on standard input) as text."""

import json
import sys

for line in sys.stdin:
    menu = json.loads(line)
    if not menu["items"]:
        print(f"   (no items: initialize {menu['initialize']}, query {menu['query']})")
        continue
    width = max(len(item.get("text", "")) for item in menu["items"]) + 8
    print("   +" + "-" * width + "+")
    for item in menu["items"]:
        if item.get("separator"):
            print("   |" + "-" * width + "|")
            continue
        picture = "[#] " if item["bitmap"] else "    "
        notes = f'offset {item["offset"]}, verb "{item["verb"]}"'
        if item["default"]:
            notes += ", the default on double click"
        print(f'   | {picture}{item["text"]:<{width - 5}}| {notes}')
    print("   +" + "-" * width + "+")
