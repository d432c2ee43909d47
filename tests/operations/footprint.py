#!/usr/bin/env python3
# SPDX-License-Identifier: LGPL-2.1-or-later
"""Holds docs/adding-an-operation.md against the files that name one existing operation.

usage: footprint.py SOURCE-FOLDER [DOCUMENT]

The document tells of an operation that does not exist. An existing one of the same kind stands for it:
one that sends no document and is answered by a structure of its own. What names it has to be listed,
and what is listed has to name it.
"""
import os
import re
import sys

DOCUMENT = 'docs/adding-an-operation.md'
MOST_OF_PRODUCT = 8
MOST_IN_ALL = 18
BESIDE = 1  # the .expect of the recorded reply, in which nothing is named

# For the service: by its class, its type and its signal, its structure, its root and the emulator's
# function. Where it is only an example, in a table of texts or a recorded document, it is not named.
OPERATION = re.compile(r'retrieveTermsAcceptance|TermsAcceptanceStatusResponse|'
                       r'termsQueryResponse|\btermsQuery\b', re.IGNORECASE)
STANDS_FOR = {
    'retrievesessionsrequest': 'retrievetermsacceptancerequest',
    'sessionsquery': 'termsquery',
    'data/sessions/some': 'data/termsacceptance/mixed',
}
FOLDERS = ('benchmarks', 'docs', 'emulator', 'fuzz', 'include', 'plugin', 'src', 'tests', 'tools')
OF_OLD = {'src/rest/reply/networkresponseprocessor.h', 'src/rest/operations/answers.cpp'}

# For applications: by its method, its signal and the type of its refusal. What has to name it is
# looked for here; elsewhere methods are named as examples.
FACADE = re.compile(r'\bretrieveTermsOfService\b|termsOfServiceResponse|\bResponseTermsOfService\b')
OF_CLIENT = {'include/kelaccount/client.h', 'include/kelaccount/resultkeys.h',
             'src/client/client.cpp', 'src/client/worker.cpp',
             'src/qml/accountsclient.h', 'src/qml/accountsclient.cpp'}
FOLDERS_OF_FACADE = ('README.md', 'include', 'plugin', 'src', 'tests/operations', 'tools')


def files(top, folders):
    for folder in folders:
        if os.path.isfile(os.path.join(top, folder)):
            yield folder
        for where, _, names in os.walk(os.path.join(top, folder)):
            for name in names:
                path = os.path.relpath(os.path.join(where, name), top)
                if not path.startswith('fuzz/corpus/') and path != DOCUMENT and \
                        path != os.path.relpath(__file__, top):
                    yield path


def is_product(path):
    return path.startswith(('src/', 'include/'))


def naming(top, folders, names):
    """The files in whose name or text the operation is named."""
    found = set()
    for path in files(top, folders):
        with open(os.path.join(top, path), encoding='utf-8', errors='replace') as text:
            if names.search(os.path.basename(path)) or names.search(text.read()):
                found.add(path)
    return found


def rows(document):
    """The files in the first cells of the document's tables, by the heading they stand under."""
    listed = {}
    heading = None
    for line in document.splitlines():
        if line.startswith('## '):
            heading = line[3:]
        match = re.match(r'\| `([^`]+)` \|', line)
        if match:
            path = match.group(1)
            for new, existing in STANDS_FOR.items():
                path = path.replace(new, existing)
            listed.setdefault(heading, set()).add(path)
    return listed


def compare(what, listed, touched):
    problems = [f'{path}: names {what}, and {DOCUMENT} does not list it. Have what it says follow '
                f'from the description of the operation; where it cannot, add the row'
                for path in sorted(touched - listed)]
    problems += [f'{path}: is listed in {DOCUMENT}, and does not name {what}. Take the row out'
                 for path in sorted(listed - touched)]
    return problems


def main(arguments):
    if not 2 <= len(arguments) <= 3:
        sys.exit(__doc__)
    top = os.path.abspath(arguments[1])
    with open(arguments[2] if len(arguments) == 3 else os.path.join(top, DOCUMENT),
              encoding='utf-8') as text:
        document = text.read()
    listed = rows(document)
    facade = listed.pop('What applications see', set())
    operation = set().union(*listed.values())
    problems = [f'{DOCUMENT}: does not name {path}' for path in sorted(OF_OLD | OF_CLIENT)
                if path not in document and os.path.basename(path) not in document]
    problems += compare('RetrieveTermsAcceptance', operation,
                        naming(top, FOLDERS, OPERATION) - OF_OLD)
    naming_facade = naming(top, FOLDERS_OF_FACADE, FACADE) - OF_CLIENT
    problems += compare('retrieveTermsOfService of the facade', facade,
                        naming_facade - (operation - facade))
    every = operation | facade
    product = {path for path in every if is_product(path)}
    for count, most, where in ((len(product), MOST_OF_PRODUCT, 'src/ and include/'),
                               (len(every) + BESIDE, MOST_IN_ALL, 'all')):
        if count > most:
            problems.append(f'{DOCUMENT}: an operation takes {count} files in {where}, and is to '
                            f'take {most} at most')
    print('\n'.join(problems) or
          f'{len(every) + BESIDE} files, {len(product)} of them in the product, as the document says')
    return 1 if problems else 0


if __name__ == '__main__':
    sys.exit(main(sys.argv))
