"""Lines and branches of each folder that were reached, from `llvm-cov show --show-branches=count` on standard input.

    coverage_table.py FOLDER...             the table
    coverage_table.py --files FOLDER...     the files below each folder
    coverage_table.py --missing FOLDER...   and the lines and branches that nothing reached

llvm-cov's own table takes a header that two folders reach by two paths for two files, and of the branches of a template
it counts the instance that has most. Here a branch is reached when any instance takes it.
"""
import re
import sys

HEAD = re.compile(r'^(/.*):$')
LINE = re.compile(r'^ *(\d+)\| *([0-9.]+[kMGTPE]?)?\|(.*)$')
BRANCH = re.compile(r'^ *\|  Branch \((\d+):(\d+)\): \[True: ([^,]+), False: ([^\]]+)\]$')


def short(path, folders):
    """The path below the project, empty for a file of no folder. Headers are found through build/*/roots/FOLDER."""
    for folder in folders:
        for mark in (f'/roots/{folder}/{folder}/', f'/{folder}/'):
            if mark in path and '/tests/' not in path and '/host/' not in path:
                return folder + '/' + path.rsplit(mark, 1)[1]
    return ''


def read(text, folders):
    """Of each file: line -> [reached, text], (line, column, side) -> reached."""
    files = {}
    lines = branches = None
    for row in text:
        row = row.rstrip('\n')
        if found := HEAD.match(row):
            name = short(found[1], folders)
            lines, branches = files.setdefault(name, ({}, {})) if name else (None, None)
        elif lines is None:
            continue
        elif found := LINE.match(row):
            if found[2] is not None:
                entry = lines.setdefault(int(found[1]), [False, found[3]])
                entry[0] |= found[2] != '0'
        elif found := BRANCH.match(row):
            for side, count in (('true', found[3]), ('false', found[4])):
                key = int(found[1]), int(found[2]), side
                branches[key] = branches.get(key, False) or count != '0'
    return files


def tally(files):
    lines = [reached for own, _ in files for reached, _ in own.values()]
    branches = [reached for _, own in files for reached in own.values()]
    return len(lines), sum(lines), len(branches), sum(branches)


def row_of(name, figures):
    lines, lines_hit, branches, branches_hit = figures
    share = lambda part, whole: f'{100 * part / whole:6.2f} %' if whole else '       -'
    return (f'{name:32}{lines_hit:7} of {lines:5}{share(lines_hit, lines):>10}'
            f'{branches_hit:7} of {branches:5}{share(branches_hit, branches):>10}')


def main(arguments):
    options = {a for a in arguments if a.startswith('--')}
    folders = [a for a in arguments if not a.startswith('--')]
    files = read(sys.stdin, folders)
    if not files:
        sys.exit('coverage: no file of ' + ' '.join(folders) + ' in what llvm-cov shows')
    print(f'{"":32}{"lines":>25}{"branches":>25}')
    for folder in folders:
        own = {name: data for name, data in sorted(files.items()) if name.startswith(folder + '/')}
        print(row_of(folder, tally(own.values())))
        if '--files' in options:
            for name, data in own.items():
                print(row_of('  ' + name, tally([data])))
    print(row_of('together', tally(files.values())))
    if '--missing' not in options:
        return
    for name, (lines, branches) in sorted(files.items()):
        rows = [(line, 0, text.strip()) for line, (reached, text) in lines.items() if not reached]
        rows += [(line, column, f'never {side}: {lines[line][1].strip() if line in lines else ""}')
                 for (line, column, side), reached in branches.items()
                 if not reached and (line not in lines or lines[line][0])]
        for line, column, text in sorted(rows):
            print(f'{name}:{line}{f":{column}" if column else ""}: {text}')


if __name__ == '__main__':
    main(sys.argv[1:])
