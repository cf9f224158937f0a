#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""The web editor's API refuses what it must (no token, a path outside its directory, an oversized
body, a forged host) and keeps its document consistent under edits sent at the same time.
Usage: test_web_api.py CORVANE"""
import os
import subprocess
import sys
import tempfile
import threading
import time

from server import Server

P = 'ZEB_CMD_PARAM_'


def main(corvane):
    failures = []
    with tempfile.TemporaryDirectory() as top:
        work = os.path.join(top, 'work')
        os.mkdir(work)
        os.symlink(top, os.path.join(work, 'up'))  # a link that leaves the directory
        with open(os.path.join(top, 'outside.zeb'), 'w') as outside:
            outside.write('<zeb version="1"/>\n')
        server = Server(corvane, work)
        try:
            big = b'{"op": "set", "element": "settings", "params": [["' + b'x' * (2 << 20) + b'", "1"]]}'
            # (what, method, path, body, extra arguments of the request, expected status)
            refusals = [
                ('no token', 'GET', 'api/state', None, {'token': False}, 403),
                ('wrong token', 'GET', 'api/state', None, {'token': False, 'headers': {'X-Corvane-Token': '0' * 64}}, 403),
                ('token in the URL of the API', 'GET', 'api/state?token=' + server.token, None, {'token': False}, 403),
                ('page without token', 'GET', '', None, {'token': False}, 403),
                ('forged host', 'GET', 'api/state', None, {'headers': {'Host': 'attacker.example:%d' % server.port}}, 403),
                ('open above the directory', 'POST', 'api/open', {'path': '../outside.zeb'}, {}, 403),
                ('open by absolute path', 'POST', 'api/open', {'path': os.path.join(top, 'outside.zeb')}, {}, 403),
                ('open through a link', 'POST', 'api/open', {'path': 'up/outside.zeb'}, {}, 403),
                ('save above the directory', 'POST', 'api/save', {'path': 'up/../../x.zeb'}, {}, 403),
                ('list above the directory', 'GET', 'api/files?dir=..', None, {}, 403),
                ('describe through a link', 'GET', 'api/info?path=up/outside.zeb', None, {}, 403),
                ('body over the limit', 'POST', 'api/edit', None, {'raw': big}, 413),
                ('not JSON', 'POST', 'api/edit', None, {'raw': b'{'}, 400),
                ('unknown parameter', 'POST', 'api/edit', {'op': 'set', 'element': 'settings', 'params': [['X', '1']]}, {}, 400),
                ('value the option does not take', 'POST', 'api/edit',
                 {'op': 'set', 'element': 'settings', 'params': [[P + 'SETTINGS_MODE', 'NOSUCH']]}, {}, 400),
            ]
            for what, method, path, body, extra, expected in refusals:
                status, reply = server.request(method, path, body, **extra)
                if status != expected:
                    failures.append('%s: status %d, expected %d (%s)' % (what, status, expected, reply))
            # Bitstream options follow the device of the file: this one has no HPS.
            for device, has_hps in [('7TR440PA3R1', True), ('5ZV066H2', False)]:
                subprocess.run([corvane, '--make-sof', '--device', device, '--size', '4096', device + '.sof'], cwd=work,
                               check=True, stdout=subprocess.DEVNULL)
                status, reply = server.request('GET', 'api/options?element=bitstream&input=%s.sof' % device)
                names = [option['option'] for option in reply['options']]
                if reply['device'] != device or ('hps_path' in names) != has_hps or 'compression' not in names:
                    failures.append('options of a %s bitstream: %s' % (device, names))

            # Edits sent at once are applied one after the other: every bitstream arrives, whole.
            ids = ['B%d' % i for i in range(8)]
            threads = [threading.Thread(target=server.request, args=(
                'POST', 'api/edit', {'op': 'set', 'element': 'bitstream',
                                     'params': [[P + 'BITSTREAM_ID', b], [P + 'BITSTREAM_PATH', b + '.sof']]}))
                       for b in ids]
            for thread in threads:
                thread.start()
            for thread in threads:
                thread.join()
            server.request('POST', 'api/edit', {'op': 'set', 'element': 'output_file',
                                                'params': [[P + 'OUTPUT_FILE_TYPE', '17'], [P + 'OUTPUT_FILE_NAME', 'x']]})
            status, state = server.request('GET', 'api/state')
            containers = [c for c in state['document']['children'] if c['kind'] == 'bitstreams']
            found = sorted((b['attributes']['id'], b['children'][0]['text']) for b in containers[0]['children'])
            if len(containers) != 1 or found != sorted((b, b + '.sof') for b in ids):
                failures.append('edits at the same time: %s' % found)
            status, reply = server.request('POST', 'api/save', {'path': 'saved/quick.zeb'})
            if status != 422:  # the folder does not exist: a clear refusal, nothing written
                failures.append('save into a missing folder: status %d' % status)
            status, reply = server.request('POST', 'api/save', {'path': 'quick.zeb'})
            schema = os.path.join(os.path.dirname(__file__), '..', '..', 'xsd', 'zeb.xsd')
            valid = subprocess.run(['xmllint', '--noout', '--schema', schema, os.path.join(work, 'quick.zeb')],
                                   capture_output=True)
            if status != 200 or not reply['saved'] or valid.returncode != 0:
                failures.append('saved document: %s %s' % (reply, valid.stderr.decode()))

            # A document naming a file outside the directory is neither checked nor generated.
            status, state = server.request('POST', 'api/edit', {'op': 'set', 'element': 'bitstream', 'params': [
                [P + 'BITSTREAM_ID', 'B0'], [P + 'BITSTREAM_PATH', 'B0.sof'], [P + 'BITSTREAM_PATH_KEY_FILE1', 'up/k']]})
            server.request('POST', 'api/generate', {})
            generation = {'finished': False}
            while not generation['finished']:
                time.sleep(0.05)  # polls the state; the loop ends on it, not on the time
                status, generation = server.request('GET', 'api/generate')
            if 'outside' not in state['check']['text'] or generation['ok'] or 'outside' not in str(generation['messages']):
                failures.append('a key file outside: %s / %s' % (state['check'], generation))
        finally:
            if server.stop() != 0:
                failures.append('the server did not end cleanly')
    for failure in failures:
        print('FAIL', failure)
    return 1 if failures else 0


if __name__ == '__main__':
    sys.exit(main(sys.argv[1]))
