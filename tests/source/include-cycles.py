#!/usr/bin/env python3
"""Fails when the modules of a folder include each other in a cycle. A module is a header
and its sources: X.h with X.cpp, and X_Part.cpp when X.h is there; a source without a header
is a module of its own. An edge is a line #include "Y.h" naming a header of the folder. Each
cycle is printed with the lines that make it.

Usage: include-cycles.py FOLDER"""
import os
import re
import sys

INCLUDE = re.compile(r'^\s*#\s*include\s*"([^"]+)"')


def module_of(name, headers):
    stem, ext = os.path.splitext(name)
    if ext == ".h" or stem + ".h" in headers:
        return stem
    # GrabDVDController_Compare.cpp is a part of GrabDVDController.
    owner = stem.split("_", 1)[0]
    return owner if owner + ".h" in headers else stem


def read_edges(folder):
    names = sorted(n for n in os.listdir(folder) if n.endswith((".h", ".cpp")))
    headers = {n for n in names if n.endswith(".h")}
    modules = {module_of(n, headers) for n in names}
    edges = {m: {} for m in modules}  # module -> {module it includes: "file:line"}
    for name in names:
        source = module_of(name, headers)
        with open(os.path.join(folder, name), encoding="utf-8") as f:
            for number, text in enumerate(f, 1):
                match = INCLUDE.match(text)
                if not match or not os.path.isfile(os.path.join(folder, match.group(1))):
                    continue
                target = module_of(os.path.basename(match.group(1)), headers)
                if target != source:
                    edges[source].setdefault(target, f"{name}:{number}")
    return edges


def components(edges):
    # Tarjan's strongly connected components, without recursion.
    index, low, stack, on_stack, found = {}, {}, [], set(), []
    for root in sorted(edges):
        if root in index:
            continue
        work = [(root, iter(sorted(edges[root])))]
        index[root] = low[root] = len(index)
        stack.append(root)
        on_stack.add(root)
        while work:
            node, children = work[-1]
            child = next(children, None)
            if child is not None:
                if child not in index:
                    index[child] = low[child] = len(index)
                    stack.append(child)
                    on_stack.add(child)
                    work.append((child, iter(sorted(edges[child]))))
                elif child in on_stack:
                    low[node] = min(low[node], index[child])
                continue
            work.pop()
            if work:
                low[work[-1][0]] = min(low[work[-1][0]], low[node])
            if low[node] == index[node]:
                component = []
                while True:
                    member = stack.pop()
                    on_stack.discard(member)
                    component.append(member)
                    if member == node:
                        break
                if len(component) > 1:
                    found.append(sorted(component))
    return found


def cycle_through(start, component, edges):
    # A shortest way from start back to itself, inside the component.
    members = set(component)
    previous, frontier = {start: None}, [start]
    while frontier:
        following = []
        for node in frontier:
            for child in sorted(edges[node]):
                if child == start:
                    path = [node]
                    while previous[path[-1]] is not None:
                        path.append(previous[path[-1]])
                    return list(reversed(path)) + [start]
                if child in members and child not in previous:
                    previous[child] = node
                    following.append(child)
        frontier = following
    return []


def main(argv):
    if len(argv) != 2 or not os.path.isdir(argv[1]):
        print(__doc__)
        return 2
    folder = os.path.abspath(argv[1])
    edges = read_edges(folder)
    if not edges:
        print(f"include-cycles: no headers or sources in {folder}")
        return 2
    found = components(edges)
    for component in found:
        print("modules in an include cycle: " + ", ".join(component))
        # A cycle through each member, until every member is in one that was printed.
        shown = set()
        for start in component:
            if start in shown:
                continue
            cycle = cycle_through(start, component, edges)
            shown.update(cycle)
            print("  include cycle: " + " -> ".join(cycle))
            for a, b in zip(cycle, cycle[1:]):
                print(f"    {edges[a][b]} includes {b}.h")
    if found:
        return 1
    print(f"{len(edges)} modules of {os.path.basename(folder)}/ include each other without a cycle")
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv))
