#!/usr/bin/env python3
# SPDX-License-Identifier: Apache-2.0
"""A user builds the remote-update flash in the setup editor by clicking, in headless Chromium:
three images, a VQ1024A flash, the factory and two application partitions. A deliberate overlap
is reported beside its partition and goes when fixed; the page generates, saves, and the files
equal, byte for byte, what `corvane` makes from the saved document.
Usage: test_web_browser.py CORVANE [SCREENSHOT_DIR]"""
import filecmp
import os
import subprocess
import sys
import tempfile

from selenium import webdriver
from selenium.webdriver.chrome.service import Service
from selenium.webdriver.common.by import By
from selenium.webdriver.common.keys import Keys
from selenium.webdriver.support.ui import Select, WebDriverWait

from server import Server

# Seconds; generous for a loaded machine and the sanitizer build.
WAIT = int(os.environ.get('CORVANE_WEB_WAIT', '300'))


class Page:
    def __init__(self, driver):
        self.driver = driver

    def settle(self):
        """Waits until no request of the page is under way."""
        WebDriverWait(self.driver, WAIT).until(lambda d: d.execute_script('return window.pendingRequests === 0'))

    def find(self, element_id):
        return WebDriverWait(self.driver, WAIT).until(lambda d: d.find_element(By.ID, element_id))

    def tab(self, name):
        self.driver.find_element(By.CSS_SELECTOR, '[data-tab=%s]' % name).click()

    def type(self, element_id, text, commit=False):
        # Selecting and overtyping changes the field once (clearing it would commit an empty value).
        self.find(element_id).send_keys(Keys.CONTROL + 'a' + Keys.NULL, text + (Keys.TAB if commit else ''))
        self.settle()

    def click(self, element_id):
        self.find(element_id).click()
        self.settle()

    def choose(self, element_id, value):
        Select(self.find(element_id)).select_by_value(value)
        self.settle()

    def text(self, selector):
        return self.driver.find_element(By.CSS_SELECTOR, selector).text

    def wait_text(self, selector, predicate):
        WebDriverWait(self.driver, WAIT).until(lambda d: predicate(d.find_element(By.CSS_SELECTOR, selector).text))


def build_by_clicking(page):
    page.tab('input')
    for bitstream, path in [('Factory', 'factory.sof'), ('App1', 'app1.sof'), ('App2', 'app2.sof')]:
        page.type('new-bitstream-id', bitstream)
        page.type('new-bitstream-path', path)
        page.click('add-bitstream')
    page.tab('output')
    page.choose('mode', 'ASX4')
    page.choose('new-output-type', 'JIC')
    page.type('new-output-name', 'remote_update')
    page.type('new-output-directory', 'output_files')
    page.click('add-output')
    page.click('secondary-JIC-MAP')
    page.tab('device')
    page.choose('flash-loader', '7TR440PA3R1')
    page.type('new-device-id', 'Flash_1')
    page.choose('new-device-type', 'VQ1024A')
    page.click('add-device')
    page.tab('output')
    page.choose('output-device-JIC', 'Flash_1')
    page.tab('device')
    page.click('reserved-Flash_1')
    for partition, start, bitstream, number in [('FACTORY_IMAGE', None, 'Factory', '0'),
                                                ('APP1', '0x00800000', 'App1', '1'),
                                                ('APP2', '0x00800000', 'App2', '2')]:  # APP2 overlaps APP1
        if start:
            page.type('new-partition-id-Flash_1', partition)
            page.type('new-partition-start-Flash_1', start)
            page.click('add-partition-Flash_1')
        page.choose('assign-' + partition, 'bitstream:' + bitstream)
        page.type('page-' + partition, number, commit=True)


def main(corvane, screenshots):
    failures = []
    with tempfile.TemporaryDirectory() as top:
        work = os.path.join(top, 'page')
        os.makedirs(os.path.join(work, 'output_files'))
        for seed, name in [(2, 'factory.sof'), (3, 'app1.sof'), (4, 'app2.sof')]:
            subprocess.run([corvane, '--make-sof', '--device', '7TR440PA3R1', '--seed', str(seed), '--size', '262144',
                            name], cwd=work, check=True, stdout=subprocess.DEVNULL)
        server = Server(corvane, work)
        options = webdriver.ChromeOptions()
        options.binary_location = '/usr/bin/chromium'
        for argument in ['--headless=new', '--no-sandbox', '--disable-gpu', '--disable-dev-shm-usage',
                         '--window-size=1400,1100']:
            options.add_argument(argument)
        driver = webdriver.Chrome(service=Service('/usr/bin/chromedriver'), options=options)
        try:
            driver.get(server.url)
            page = Page(driver)
            page.find('bitstreams')
            page.settle()
            try:
                build_by_clicking(page)
            except Exception:
                print('page status: %r, check: %r' % (page.text('#status'), page.text('#check')))
                raise
            beside = '[data-partition=APP2] .problem'
            if 'conflicts' not in page.text(beside):
                failures.append('no overlap message beside APP2: %r / %r' % (page.text(beside), page.text('#check')))
            page.type('partition-APP2-s_addr', '0x01000000', commit=True)
            page.wait_text('#check', lambda text: text == 'Check passed')
            if page.text(beside):
                failures.append('the overlap message stayed: %r' % page.text(beside))
            page.find('layout-picture')
            if screenshots:
                for name in ['input', 'output', 'device']:
                    page.tab(name)
                    driver.save_screenshot(os.path.join(screenshots, 'web-%s.png' % name))
            page.click('generate')
            result = page.find('generation-result')
            if result.get_attribute('data-ok') != 'true' or 'FAILED' in result.text:
                failures.append('generation: ' + result.text)
            page.type('save-path', 'remote_update.zeb')
            page.click('save')
            page.wait_text('#status', lambda text: 'Saved' in text)
        finally:
            driver.quit()
            if server.stop() != 0:
                failures.append('the server did not end cleanly')

        # The command line on the saved document, in the same directory, makes the same files.
        page_files = os.path.join(work, 'page_files')
        os.rename(os.path.join(work, 'output_files'), page_files)
        os.mkdir(os.path.join(work, 'output_files'))
        subprocess.run([corvane, 'remote_update.zeb'], cwd=work, check=True, stdout=subprocess.DEVNULL)
        made = sorted(os.listdir(page_files))
        if made != ['remote_update.jic', 'remote_update.map']:
            failures.append('files made by the page: %s' % made)
        for name in made:
            if not filecmp.cmp(os.path.join(page_files, name), os.path.join(work, 'output_files', name), shallow=False):
                failures.append('%s differs from the command line\'s' % name)
    for failure in failures:
        print('FAIL', failure)
    return 1 if failures else 0


if __name__ == '__main__':
    sys.exit(main(sys.argv[1], sys.argv[2] if len(sys.argv) > 2 else None))
