// SPDX-License-Identifier: Apache-2.0
// The setup editor page. It holds no document of its own: every edit is sent to the server, which
// applies it through the document assistant and answers with the document, its check and its
// layout; the choices offered come from the server's capability database.
'use strict';

const token = new URLSearchParams(location.search).get('token') || '';
const P = 'ZEB_CMD_PARAM_';
let catalog = null;
let state = null;
const optionCache = new Map();

const $ = (id) => document.getElementById(id);

function el(tag, attributes = {}, ...children) {
    const node = document.createElement(tag);
    for (const [name, value] of Object.entries(attributes)) {
        if (name.startsWith('on')) node.addEventListener(name.slice(2), value);
        else if (value !== undefined && value !== null && value !== false) node.setAttribute(name, value);
    }
    for (const child of children.flat()) node.append(child instanceof Node ? child : String(child));
    return node;
}

// Requests under way, for whoever waits until the page has settled.
window.pendingRequests = 0;

async function api(method, path, body) {
    window.pendingRequests++;
    try {
        return await request(method, path, body);
    } finally {
        window.pendingRequests--;
    }
}

async function request(method, path, body) {
    const options = { method, headers: { 'X-Corvane-Token': token } };
    if (body !== undefined) {
        options.headers['Content-Type'] = 'application/json';
        options.body = JSON.stringify(body);
    }
    const response = await fetch('/api/' + path, options);
    const reply = await response.json();
    if (!response.ok) throw new Error(reply.error || response.statusText);
    return reply;
}

function say(text) {
    $('status').textContent = text;
}

// Runs a request that answers with the state, and shows the result.
async function change(method, path, body) {
    try {
        say('');
        show(await api(method, path, body));
    } catch (error) {
        say(error.message);
    }
}

const edit = (op, element, params) => change('POST', 'edit', { op, element, params });

function children(element, kind) {
    return element ? element.children.filter((child) => child.kind === kind) : [];
}

function first(element, kind) {
    return children(element, kind)[0];
}

const attr = (element, name) => (element && element.attributes[name]) || '';

function select(id, entries, value, onchange) {
    const node = el('select', { id, onchange });
    for (const [key, label, title] of entries) node.append(el('option', { value: key, title }, label));
    node.value = value;
    return node;
}

function problemSlot(kind, id, parent) {
    return el('span', { class: 'problem', 'data-kind': kind, 'data-id': id, 'data-parent': parent || '' });
}

async function options(element, input, type) {
    const key = [element, input, type].join('|');
    if (!optionCache.has(key)) {
        const query = new URLSearchParams({ element, input: input || '', type: type === undefined ? '' : type });
        optionCache.set(key, api('GET', 'options?' + query).catch(() => ({ options: [] })));
    }
    return optionCache.get(key);
}

// The fields of a list of options; `current` reads an attribute, `commit(param, value)` sends one.
function optionFields(list, current, commit, prefix) {
    const box = el('div', { class: 'options' });
    for (const option of list) {
        const id = prefix + '-' + option.option;
        const value = current(option.attribute);
        let field;
        if (option.kind === 'flag') {
            field = el('input', { type: 'checkbox', id, onchange: (e) => commit(option.param, e.target.checked ? 'ON' : 'OFF') });
            field.checked = value === '1' || value === 'true';
        } else if (option.kind === 'word') {
            field = select(id, [['', ''], ...option.words.map((w) => [w, w])], value,
                (e) => commit(option.param, e.target.value));
        } else {
            field = el('input', { id, value, size: 14, onchange: (e) => commit(option.param, e.target.value) });
        }
        box.append(el('label', { title: option.description }, option.option, ' ', field));
    }
    return box;
}

// ---- Input Files ------------------------------------------------------------------------------

async function showInfo(path) {
    try {
        $('info').textContent = JSON.stringify(await api('GET', 'info?' + new URLSearchParams({ path })), null, 1);
    } catch (error) {
        $('info').textContent = error.message;
    }
}

function renderBitstreams(doc) {
    const box = $('bitstreams');
    box.replaceChildren();
    for (const bitstream of children(first(doc, 'bitstreams'), 'bitstream')) {
        const id = attr(bitstream, 'id');
        for (const path of children(bitstream, 'path')) {
            const file = path.text;
            const fields = el('div');
            const item = el('div', { class: 'item', 'data-bitstream': id },
                el('div', { class: 'head' }, el('b', {}, id), file,
                    el('button', { onclick: () => showInfo(file) }, 'Info'),
                    el('button', { onclick: () => edit('remove', 'bitstream', [[P + 'BITSTREAM_ID', id]]) }, 'Remove'),
                    problemSlot('bitstream', id)),
                fields);
            box.append(item);
            options('bitstream', file).then((reply) => fields.replaceChildren(
                reply.device ? el('div', {}, 'device ' + reply.device) : '',
                optionFields(reply.options, (a) => attr(path, a),
                    (param, value) => edit('set', 'bitstream', [[P + 'BITSTREAM_ID', id], [P + 'BITSTREAM_PATH', file], [param, value]]),
                    'bitstream-' + id)));
        }
    }
}

function renderRawFiles(doc) {
    const box = $('raw-files');
    box.replaceChildren();
    for (const raw of children(first(doc, 'raw_files'), 'raw_file')) {
        const id = attr(raw, 'id');
        box.append(el('div', { class: 'item' }, el('div', { class: 'head' }, el('b', {}, id), raw.text,
            el('button', { onclick: () => showInfo(raw.text) }, 'Info'),
            el('button', { onclick: () => edit('remove', 'raw_file', [[P + 'RAW_FILE_ID', id]]) }, 'Remove'),
            problemSlot('raw_file', id))));
    }
}

// ---- Output Files -----------------------------------------------------------------------------

function typeOfWord(word) {
    return Object.values(catalog.output_types).find((t) => t.word === word);
}

function currentMode(doc) {
    return attr(first(doc, 'settings'), 'mode');
}

function renderOutputs(doc) {
    const mode = catalog.modes.find((m) => m.word === currentMode(doc));
    $('mode').replaceChildren(...[['', '(choose a mode)'], ...catalog.modes.map((m) => [m.word, m.name])]
        .map(([value, label]) => el('option', { value }, label)));
    $('mode').value = mode ? mode.word : '';
    const types = mode ? mode.output_types.map((t) => catalog.output_types[t]) : [];
    $('new-output-type').replaceChildren(...types.map((t) =>
        el('option', { value: t.word, title: t.tooltip }, t.description)));

    const devices = children(first(doc, 'flash_devices'), 'flash_device').map((d) => attr(d, 'id'));
    const bitstreams = children(first(doc, 'bitstreams'), 'bitstream').map((b) => attr(b, 'id'));
    const box = $('output-files');
    box.replaceChildren();
    for (const output of children(first(doc, 'output_files'), 'output_file')) {
        const type = typeOfWord(attr(output, 'type'));
        if (!type) continue;
        const key = [[P + 'OUTPUT_FILE_TYPE', String(type.type)]];
        const set = (params) => edit('set', 'output_file', [...key, ...params]);
        const item = el('div', { class: 'item', 'data-output': type.word },
            el('div', { class: 'head' }, el('b', {}, type.description),
                attr(output, 'directory') + '/' + attr(output, 'name') + '.' + type.extension,
                el('button', { onclick: () => edit('remove', 'output_file', key) }, 'Remove'),
                problemSlot('output_file', attr(output, 'name'))));
        // Secondary files the type brings, each on or off.
        for (const secondaryType of type.secondary.map((t) => catalog.output_types[t])) {
            const present = children(output, 'secondary_file').some((s) => attr(s, 'type') === secondaryType.word);
            const box = el('input', { type: 'checkbox', id: 'secondary-' + type.word + '-' + secondaryType.word,
                onchange: (e) => e.target.checked
                    ? set([[P + 'OUTPUT_FILE_SECONDARY_FILE_TYPE', String(secondaryType.type)],
                        [P + 'OUTPUT_FILE_SECONDARY_FILE_NAME', attr(output, 'name')]])
                    : edit('remove', 'output_file', [...key, [P + 'OUTPUT_FILE_SECONDARY_FILE_TYPE', String(secondaryType.type)]]) });
            box.checked = present;
            item.append(el('label', { title: secondaryType.tooltip }, box, ' ', secondaryType.description), ' ');
            if (!present) continue;
            const secondary = children(output, 'secondary_file').find((s) => attr(s, 'type') === secondaryType.word);
            const fields = el('span');
            item.append(fields);
            options('secondary file options', '', secondaryType.type).then((reply) => fields.replaceChildren(
                optionFields(reply.options, (a) => attr(first(secondary, 'file_options'), a),
                    (param, value) => set([[P + 'OUTPUT_FILE_SECONDARY_FILE_TYPE', String(secondaryType.type)], [param, value]]),
                    'secondary-' + secondaryType.word)));
        }
        if (type.flash) {
            const chosen = first(output, 'flash_device_id');
            item.append(el('label', {}, ' flash device ',
                select('output-device-' + type.word, [['', ''], ...devices.map((d) => [d, d])], chosen ? chosen.text : '',
                    (e) => set([[P + 'OUTPUT_FILE_FLASH_DEVICE_ID', e.target.value]]))));
        } else {
            const chosen = first(output, 'bitstream_id');
            item.append(el('label', {}, ' bitstream ',
                select('output-bitstream-' + type.word, [['', ''], ...bitstreams.map((b) => [b, b])], chosen ? chosen.text : '',
                    (e) => set([[P + 'OUTPUT_FILE_BITSTREAM_ID', e.target.value]]))));
        }
        const fields = el('div');
        item.append(fields);
        const fileOptions = first(output, 'file_options');
        options('output file options', '', type.type).then((reply) => fields.replaceChildren(
            optionFields(reply.options, (a) => attr(fileOptions, a), (param, value) => set([[param, value]]),
                'output-' + type.word)));
        box.append(item);
    }
}

// ---- Configuration Device ---------------------------------------------------------------------

function renderDevices(doc) {
    const loader = first(first(doc, 'flash_devices'), 'flash_loader');
    $('flash-loader').replaceChildren(...['', ...catalog.fpgas].map((n) => el('option', { value: n }, n)));
    $('flash-loader').value = loader ? loader.text : '';
    document.querySelector('.problem[data-kind=flash_loader]').dataset.id = loader ? loader.text : '';
    $('custom-db').value = attr(first(doc, 'settings'), 'custom_db_dir');
    $('custom-db-error').textContent = catalog.custom_db_error;
    $('new-device-type').replaceChildren(...catalog.flash_devices.map((d) =>
        el('option', { value: d.name }, d.name + ' (' + Math.floor(d.size / 1048576) + ' MiB)' + (d.custom ? ' custom' : ''))));

    const inputs = [...children(first(doc, 'bitstreams'), 'bitstream').map((b) => ['bitstream:' + attr(b, 'id'), attr(b, 'id')]),
        ...children(first(doc, 'raw_files'), 'raw_file').map((r) => ['raw:' + attr(r, 'id'), attr(r, 'id')])];
    const assignments = children(first(doc, 'assignments'), 'assignment');
    const box = $('flash-devices');
    box.replaceChildren();
    for (const device of children(first(doc, 'flash_devices'), 'flash_device')) {
        const deviceId = attr(device, 'id');
        const table = el('table', {}, el('tr', {}, ...['partition', 'start', 'end', 'input', 'page', '', ''].map((h) => el('th', {}, h))));
        for (const partition of children(device, 'partition')) {
            const id = attr(partition, 'id');
            const reserved = state.reserved.find((r) => r.name === id);
            const editable = attr(partition, 'reserved') !== 'true' || !reserved || reserved.editable;
            const setPartition = (param, value) => edit('set', 'flash_device',
                [[P + 'FLASH_DEVICE_ID', deviceId], [P + 'FLASH_DEVICE_PARTITION_ID', id], [param, value]]);
            const address = (name, param) => editable
                ? el('input', { id: 'partition-' + id + '-' + name, value: attr(partition, name), size: 11,
                    onchange: (e) => setPartition(P + param, e.target.value) })
                : attr(partition, name);
            const assignment = assignments.find((a) => attr(a, 'partition_id') === id);
            const bitstream = assignment && first(assignment, 'bitstream_id');
            const raw = assignment && first(assignment, 'raw_file_id');
            const assigned = bitstream ? 'bitstream:' + bitstream.text : raw ? 'raw:' + raw.text : '';
            const assign = (value, page) => {
                const [kind, input] = value.split(':');
                const params = [[P + 'ASSIGNMENT_PARTITION_ID', id]];
                if (kind === 'bitstream') params.push([P + 'ASSIGNMENT_BITSTREAM_ID', input]);
                if (kind === 'raw') params.push([P + 'ASSIGNMENT_RAW_FILE_ID', input]);
                if (page !== '') params.push([P + 'ASSIGNMENT_PAGE', page]);
                return change('POST', 'edit', { edits: [
                    ...(assignment ? [{ op: 'remove', element: 'assignment', params: [[P + 'ASSIGNMENT_PARTITION_ID', id]] }] : []),
                    ...(value ? [{ op: 'set', element: 'assignment', params }] : [])] });
            };
            const page = assignment ? attr(assignment, 'page') : '';
            const canAssign = attr(partition, 'reserved') !== 'true' || (reserved && reserved.assignable);
            table.append(el('tr', { 'data-partition': id },
                el('td', {}, editable && attr(partition, 'reserved') !== 'true'
                    ? el('input', { id: 'partition-' + id + '-id', value: id, size: 12,
                        onchange: (e) => change('POST', 'rename', { flash_device: deviceId, partition: id, id: e.target.value }) })
                    : id),
                el('td', {}, address('s_addr', 'FLASH_DEVICE_PARTITION_S_ADDR')),
                el('td', {}, address('e_addr', 'FLASH_DEVICE_PARTITION_E_ADDR')),
                el('td', {}, canAssign ? select('assign-' + id, [['', ''], ...inputs], assigned, (e) => assign(e.target.value, page)) : ''),
                el('td', {}, canAssign ? el('input', { id: 'page-' + id, value: page, size: 3,
                    onchange: (e) => assign(assigned, e.target.value) }) : ''),
                el('td', {}, el('button', { onclick: () => edit('remove', 'flash_device',
                    [[P + 'FLASH_DEVICE_ID', deviceId], [P + 'FLASH_DEVICE_PARTITION_ID', id]]) }, 'Remove')),
                el('td', {}, problemSlot('partition', id, deviceId))));
        }
        const fields = el('div');
        options('flash device', '', undefined).then((reply) => fields.replaceChildren(optionFields(reply.options,
            (a) => attr(device, a), (param, value) => edit('set', 'flash_device', [[P + 'FLASH_DEVICE_ID', deviceId], [param, value]]),
            'device-' + deviceId)));
        const newId = el('input', { id: 'new-partition-id-' + deviceId, placeholder: 'APP1', size: 10 });
        const newStart = el('input', { id: 'new-partition-start-' + deviceId, placeholder: '0x00800000', size: 11 });
        const newEnd = el('input', { id: 'new-partition-end-' + deviceId, value: 'auto', size: 11 });
        box.append(el('div', { class: 'item', 'data-device': deviceId },
            el('div', { class: 'head' }, el('b', {}, deviceId), attr(device, 'type'),
                el('button', { id: 'reserved-' + deviceId, onclick: () => change('POST', 'reserved', { flash_device: deviceId }) },
                    'Add reserved partitions'),
                el('button', { onclick: () => edit('remove', 'flash_device', [[P + 'FLASH_DEVICE_ID', deviceId]]) }, 'Remove'),
                problemSlot('flash_device', deviceId)),
            fields, table,
            el('div', { class: 'add' }, newId, newStart, newEnd,
                el('button', { id: 'add-partition-' + deviceId, onclick: () => edit('set', 'flash_device', [
                    [P + 'FLASH_DEVICE_ID', deviceId], [P + 'FLASH_DEVICE_PARTITION_ID', newId.value],
                    [P + 'FLASH_DEVICE_PARTITION_S_ADDR', newStart.value], [P + 'FLASH_DEVICE_PARTITION_E_ADDR', newEnd.value]]) },
                'Add partition'))));
    }
    $('layout').replaceChildren(state.layout
        ? el('img', { id: 'layout-picture', alt: 'flash layout', src: 'data:image/svg+xml;base64,' + btoa(state.layout) })
        : 'The layout is drawn once the document has a flash output and passes the check.');
}

// ---- State, check, generation -----------------------------------------------------------------

// The check's first finding goes at the top and beside the element it names.
function showCheck(check) {
    const line = $('check');
    line.className = 'check ' + (check.ok ? 'ok' : 'bad');
    line.textContent = check.ok ? 'Check passed' : check.text;
    for (const slot of document.querySelectorAll('.problem')) slot.textContent = '';
    if (check.ok || !check.element) return;
    const { kind, id, parent } = check.element;
    const slot = [...document.querySelectorAll('.problem')].find((s) =>
        s.dataset.kind === kind && s.dataset.id === id && (!parent || s.dataset.parent === parent));
    if (slot) slot.textContent = check.text;
}

function show(reply) {
    state = reply;
    const doc = state.document;
    $('file-name').textContent = state.file || '(new document)';
    if (state.file) $('save-path').value ||= state.file;
    renderBitstreams(doc);
    renderRawFiles(doc);
    renderOutputs(doc);
    renderDevices(doc);
    showCheck(state.check);
}

async function refreshCatalog() {
    catalog = await api('GET', 'catalog');
}

async function listFiles() {
    const names = [];
    const walk = async (dir, depth) => {
        const reply = await api('GET', 'files?' + new URLSearchParams({ dir })).catch(() => ({ entries: [] }));
        for (const entry of reply.entries) {
            const path = dir === '.' ? entry.name : dir + '/' + entry.name;
            if (entry.dir && depth < 2) await walk(path, depth + 1);
            else if (!entry.dir) names.push(path);
        }
    };
    await walk('.', 0);
    $('file-list').replaceChildren(...names.map((n) => el('option', { value: n })));
}

const hex = (n) => '0x' + n.toString(16).toUpperCase().padStart(8, '0');

// One file as the verifier describes it: its checks, and the images that the flash walk found.
function describeReport(file) {
    if (file.note) return el('div', { class: 'report-file' }, el('b', {}, file.file), ': ', file.note);
    const problems = [file.integrity.ok ? '' : file.integrity.reason, file.flash && !file.flash.ok ? file.flash.failure : '']
        .filter((p) => p);
    const verdict = problems.length ? el('span', { class: 'bad' }, 'FAILED: ' + problems.join('; '))
        : el('span', { class: 'ok' }, 'every check passes');
    const images = file.flash ? el('ul', {}, ...file.flash.images.map((i) => el('li', {},
        `${i.name}: ${i.kind} page ${i.page}, ${hex(i.start)}-${hex(i.end)}, ${i.size} bytes, CRC ${i.crc32}` +
        (i.intact ? '' : ', damaged: ' + i.problem)))) : '';
    return el('div', { class: 'report-file' }, el('b', {}, file.file), ` ${file.kind}, ${file.size} bytes: `, verdict, images);
}

async function generate() {
    say('');
    $('report').replaceChildren();
    try {
        await api('POST', 'generate', {});
    } catch (error) {
        say(error.message);
        return;
    }
    for (;;) {
        const progress = await api('GET', 'generate');
        const share = progress.total ? progress.done / progress.total : 0;
        $('progress').value = progress.count ? 100 * (progress.index + share) / progress.count : 0;
        $('progress-text').textContent = progress.running ? 'generating ' + progress.output : '';
        if (progress.finished) {
            $('progress').value = 100;
            $('progress-text').textContent = progress.ok ? 'generated' : 'generation failed';
            $('report').replaceChildren(el('div', { class: 'report', id: 'generation-result', 'data-ok': String(progress.ok) },
                ...progress.messages.map((m) => el('div', { class: m.kind === 'error' ? 'bad' : '' }, m.text)),
                ...progress.report.map(describeReport)));
            await listFiles();
            return;
        }
        await new Promise((resolve) => setTimeout(resolve, 200));
    }
}

function showTab(name) {
    for (const tab of document.querySelectorAll('.tab')) tab.classList.toggle('active', tab.dataset.tab === name);
    for (const panel of ['input', 'output', 'device']) $('tab-' + panel).classList.toggle('shown', panel === name);
}

async function start() {
    for (const tab of document.querySelectorAll('.tab')) tab.addEventListener('click', () => showTab(tab.dataset.tab));
    showTab('input');
    $('add-bitstream').addEventListener('click', () => edit('set', 'bitstream',
        [[P + 'BITSTREAM_ID', $('new-bitstream-id').value], [P + 'BITSTREAM_PATH', $('new-bitstream-path').value]]));
    $('add-raw').addEventListener('click', () => edit('set', 'raw_file',
        [[P + 'RAW_FILE_ID', $('new-raw-id').value], [P + 'RAW_FILE_RAW_FILE', $('new-raw-path').value]]));
    $('mode').addEventListener('change', (e) => edit('set', 'settings', [[P + 'SETTINGS_MODE', e.target.value]]));
    $('add-output').addEventListener('click', async () => {
        const type = typeOfWord($('new-output-type').value);
        if (!type) return say('Choose a mode, then an output file type.');
        await edit('set', 'output_file', [[P + 'OUTPUT_FILE_TYPE', String(type.type)],
            [P + 'OUTPUT_FILE_NAME', $('new-output-name').value],
            [P + 'OUTPUT_FILE_DIRECTORY', $('new-output-directory').value || 'output_files']]);
        await refreshCatalog(); // the flash devices offered follow the flash outputs
        show(state);
    });
    $('custom-db').addEventListener('change', async (e) => {
        await edit('set', 'settings', [[P + 'SETTINGS_CUSTOM_DB_DIR', e.target.value]]);
        await refreshCatalog(); // the flash devices of that directory join the list
        show(state);
    });
    $('flash-loader').addEventListener('change', (e) => edit('set', 'flash_loader', [[P + 'FLASH_LOADER_FLASH_LOADER', e.target.value]]));
    $('add-device').addEventListener('click', () => edit('set', 'flash_device',
        [[P + 'FLASH_DEVICE_ID', $('new-device-id').value], [P + 'FLASH_DEVICE_TYPE', $('new-device-type').value]]));
    $('generate').addEventListener('click', generate);
    $('save').addEventListener('click', async () => {
        try {
            const reply = await api('POST', 'save', { path: $('save-path').value });
            say(reply.messages.map((m) => m.text).join(' '));
            $('file-name').textContent = reply.file;
        } catch (error) {
            say(error.message);
        }
    });
    $('open').addEventListener('click', async () => {
        await change('POST', 'open', { path: $('open-path').value });
        await refreshCatalog();
        show(state);
    });
    $('new').addEventListener('click', () => change('POST', 'new', {}));
    await refreshCatalog();
    show(await api('GET', 'state'));
    await listFiles();
}

start().catch((error) => say(error.message));
