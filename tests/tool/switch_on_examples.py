#!/usr/bin/env python3
"""Writes a copy of a shipped configuration file with its own commented peer examples
switched on, as a user following the file's comments would: switch_on_examples.py
orthanc|dcmtk-qr|dcmtk-pstat SOURCE TARGET."""
import re
import sys


def orthanc(lines):
    # The commented entries of "DicomModalities": uncommented, with the commas JSON needs.
    out, inside, entries = [], False, []
    for line in lines:
        if re.match(r'\s*"DicomModalities"\s*:', line):
            inside = True
        elif inside and re.match(r'  \},?\s*$', line):
            inside = False
        m = re.match(r'(\s*)//\s?(\s*("[^"]+"\s*:|\}).*)$', line) if inside else None
        if m:
            line = m.group(1) + m.group(2) + '\n'
            entries.append(len(out))
        out.append(line)
    # A line holding a value, followed by another key: give it its comma.
    for k, i in enumerate(entries):
        code = re.sub(r'\s*//.*$', '', out[i].rstrip('\n'))
        following = out[entries[k + 1]].strip() if k + 1 < len(entries) else ''
        if following.startswith('"') and not code.rstrip().endswith((',', '{', '[')):
            out[i] = code + ',' + out[i][len(code):]
    return out


def dcmqrscp(lines):
    out, inside = [], False
    for line in lines:
        if line.startswith('HostTable BEGIN'):
            inside = True
        elif line.startswith('HostTable END'):
            inside = False
        elif inside and re.match(r'#\w+\s*=', line):
            line = line[1:]
        out.append(line)
    return out


def dcmpstat(lines):
    out, inside = [], False
    for line in lines:
        if line.startswith('[['):
            inside = line.startswith('[[COMMUNICATION]]')
        elif inside and re.match(r'# (\[\w+\]|\w+\s*=)', line):
            line = line[2:]
        out.append(line)
    return out


def main():
    kind, source, target = sys.argv[1:4]
    with open(source, encoding='latin-1') as f:
        lines = f.readlines()
    result = {'orthanc': orthanc, 'dcmtk-qr': dcmqrscp, 'dcmtk-pstat': dcmpstat}[kind](lines)
    with open(target, 'w', encoding='latin-1') as f:
        f.writelines(result)


if __name__ == '__main__':
    main()
