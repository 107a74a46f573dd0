"""Who points at whom: arrows between wings and folders, circles, public headers that reach private ones.

An arrow is a pair of stems (X.h and X.cpp are one), one including the other across wings.
"""

from sources import ENGINE, FLOORS, WINGS


def wingArrows(files, folder):
    """(arrows between the folder's wings, those that point upwards), as sets of pairs of stems."""
    order = WINGS[folder]
    arrows, upward = set(), set()
    for source in files.values():
        for target in map(files.get, source.includes):
            if not source.folder == target.folder == folder or source.wing == target.wing:
                continue
            if source.wing not in order or target.wing not in order:
                continue
            arrows.add((source.stem, target.stem))
            if order.index(source.wing) < order.index(target.wing):
                upward.add((source.stem, target.stem))
    return arrows, upward


def homes(files):
    """Path to wing, in the engine: a public header is at home where its source stands."""
    order = WINGS[ENGINE]
    inside = [s for s in files.values() if s.folder == ENGINE]
    wings = {}
    for source in inside:
        if source.wing in order:
            wings.setdefault(source.name, set()).add(order.index(source.wing))
    return {s.path: order[min(wings[s.name])] if s.isPublic and s.name in wings else s.wing
            for s in inside}


def homeArrows(files):
    """As wingArrows of the engine, with its public headers in the wings of their sources."""
    order, home = WINGS[ENGINE], homes(files)
    arrows, upward = set(), set()
    for path, wing in home.items():
        for target in files[path].includes:
            other = home.get(target)
            if wing in order and other in order and wing != other:
                pair = files[path].name, files[target].name
                arrows.add(pair)
                if order.index(wing) < order.index(other):
                    upward.add(pair)
    return arrows, upward


def publicPairs(files):
    """Pairs of stems of the engine's wings and its public headers: (wing uses root, root uses wing)."""
    down, up = set(), set()
    for source in files.values():
        for target in map(files.get, source.includes):
            if source.name == target.name:
                continue
            if source.folder == target.folder == ENGINE and source.isPublic != target.isPublic:
                (up if source.isPublic else down).add((source.stem, target.stem))
    return down, up


def folderArrowsUp(files):
    """Files of a floor that include one above it."""
    floors = set(FLOORS)
    return sorted((source.path, target) for source in files.values() if source.folder in floors
                  for target in source.includes if files[target].floor > source.floor)


def reach(files, path):
    """Every file that the path includes, by whatever way."""
    seen, todo = set(), [path]
    while todo:
        for target in files[todo.pop()].includes:
            if target not in seen:
                seen.add(target)
                todo.append(target)
    return seen


def privateReached(files):
    """Public headers of the engine with the private ones that they reach."""
    found = []
    for source in files.values():
        if source.isPublic:
            private = sorted(t for t in reach(files, source.path)
                             if files[t].folder == ENGINE and not files[t].isPublic)
            found += [(source.path, target) for target in private]
    return found


def privateUsed(files):
    """Files of other floors, and examples, that include a private header of the engine."""
    return sorted((source.path, target) for source in files.values()
                  if source.folder in {*FLOORS, "examples"} - {ENGINE} for target in source.includes
                  if files[target].folder == ENGINE and not files[target].isPublic)


def circles(graph):
    """The circles of a graph (node to set of nodes): its strongly connected parts of two or more."""
    index, low, stack, onStack, parts = {}, {}, [], set(), []
    for start in sorted(graph):
        if start in index:
            continue
        work = [(start, iter(sorted(graph[start])))]
        index[start] = low[start] = len(index)
        stack.append(start)
        onStack.add(start)
        while work:
            node, targets = work[-1]
            target = next(targets, None)
            if target is None:
                work.pop()
                if work:
                    low[work[-1][0]] = min(low[work[-1][0]], low[node])
                if low[node] == index[node]:
                    part = stack[stack.index(node):]
                    del stack[stack.index(node):]
                    onStack.difference_update(part)
                    if len(part) > 1:
                        parts.append(sorted(part))
            elif target not in index:
                index[target] = low[target] = len(index)
                stack.append(target)
                onStack.add(target)
                work.append((target, iter(sorted(graph[target]))))
            elif target in onStack:
                low[node] = min(low[node], index[target])
    return parts


def stemCircles(files):
    """Stems that include each other in a ring."""
    graph = {source.stem: set() for source in files.values()}
    for source in files.values():
        graph[source.stem] |= {files[t].stem for t in source.includes} - {source.stem}
    return circles(graph)


def newCircles(files, known):
    """(circles that are no part of a known one, known ones of which nothing is left)."""
    names = [{stem.rsplit("/", 1)[1] for stem in circle} for circle in stemCircles(files)]
    return ([sorted(circle) for circle in names if not any(circle <= row for row in known)],
            [sorted(row) for row in known if not any(circle <= row for circle in names)])


def depth(files, folder):
    """The longest way through the folder's stems, each including the next; circles count once."""
    graph = {s.stem: {files[t].stem for t in s.includes if files[t].folder == folder} - {s.stem}
             for s in files.values() if s.folder == folder and s.isHeader}
    heights = {}

    def height(stem, above):
        if stem not in heights:
            below = [height(t, above | {stem}) for t in graph.get(stem, ()) if t not in above]
            heights[stem] = 1 + max(below, default=0)
        return heights[stem]

    return max((height(stem, frozenset()) for stem in graph), default=0)
