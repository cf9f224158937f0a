# SPDX-License-Identifier: Apache-2.0
"""Starts `corvane --serve` in a directory on a free port and stops it by its process id."""
import json
import os
import re
import select
import signal
import subprocess
import urllib.error
import urllib.request


class Server:
    def __init__(self, corvane, directory, *args):
        # No --port: the server takes a free port of 127.0.0.1 and prints it in its URL.
        # Its standard error (a sanitizer's report, say) goes to the test's.
        self.process = subprocess.Popen([corvane, '--serve', *args], cwd=directory, stdout=subprocess.PIPE, text=True)
        ready, _, _ = select.select([self.process.stdout], [], [], 120)
        line = self.process.stdout.readline() if ready else ''
        found = re.search(r'(http://127\.0\.0\.1:(\d+)/)\?token=([0-9a-f]{64})', line)
        if not found:
            self.stop()
            raise RuntimeError('the server printed no URL: ' + repr(line))
        self.base, self.port, self.token = found.group(1), int(found.group(2)), found.group(3)
        self.url = line.split()[-1]

    def request(self, method, path, body=None, headers=None, token=True, raw=None):
        """(status, decoded JSON or text) of one request."""
        data = raw if raw is not None else None if body is None else json.dumps(body).encode()
        all_headers = {'Content-Type': 'application/json'}
        if token:
            all_headers['X-Corvane-Token'] = self.token
        all_headers.update(headers or {})
        request = urllib.request.Request(self.base + path.lstrip('/'), data=data, method=method, headers=all_headers)
        try:
            with urllib.request.urlopen(request, timeout=300) as response:
                status, text = response.status, response.read().decode()
        except urllib.error.HTTPError as error:
            status, text = error.code, error.read().decode()
        try:
            return status, json.loads(text)
        except ValueError:
            return status, text

    def stop(self):
        """Stops the server; its exit status, 0 when it ended cleanly."""
        if self.process.poll() is None:
            os.kill(self.process.pid, signal.SIGTERM)
            try:
                self.process.wait(timeout=60)
            except subprocess.TimeoutExpired:
                os.kill(self.process.pid, signal.SIGKILL)
                self.process.wait()
        self.process.stdout.close()
        return self.process.returncode
