#!/usr/bin/env python3
"""switch_on_examples.py orthanc|dcmtk-qr|dcmtk-pstat SOURCE TARGET: a copy of a shipped
configuration with its own commented peer examples switched on, as its comments say."""
import re
import sys

# kind: (the block holding the examples, a commented example line, how much to strip)
RULES = {
    'orthanc': (r'\s*"DicomModalities"', r'\s*}', r'(\s*)//\s?(\s*("[^"]+"\s*:|}))'),
    'dcmtk-qr': (r'HostTable BEGIN', r'HostTable END', r'()#(\w+\s*=)'),
    'dcmtk-pstat': (r'\[\[COMMUNICATION]]', r'\[\[', r'()# (\[\w+]|\w+\s*=)'),
}


def main():
    kind, source, target = sys.argv[1:4]
    begin, end, example = RULES[kind]
    lines, inside, switched = open(source, encoding='latin-1').readlines(), False, []
    for i, line in enumerate(lines):
        if inside and re.match(end, line):
            inside = False
        if re.match(begin, line):
            inside = True
        elif inside and re.match(example, line):
            lines[i] = re.sub(r'^(\s*)(//\s?|#\s?)', r'\1', line)
            switched.append(i)
    # JSON needs a comma after a value that another key follows.
    for k, i in enumerate(switched[:-1] if kind == 'orthanc' else []):
        code = re.sub(r'\s*//.*$', '', lines[i].rstrip('\n'))
        if lines[switched[k + 1]].strip().startswith('"') and not code.endswith((',', '{', '[')):
            lines[i] = code + ',' + lines[i][len(code):]
    open(target, 'w', encoding='latin-1').writelines(lines)


if __name__ == '__main__':
    main()
