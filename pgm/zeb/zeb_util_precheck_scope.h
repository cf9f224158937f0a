// SPDX-License-Identifier: Apache-2.0
// One check or generation of a document prechecks the same input for every output that uses it.
// While a scope lives, a precheck of a file already prechecked in it (same path, size, modification
// time and inode) reuses that outcome; when the outermost scope ends the outcomes are dropped, so a
// file rewritten between two runs in one process is always read again.
#pragma once

class ZEB_PRECHECK_SCOPE
{
public:
    ZEB_PRECHECK_SCOPE();
    ~ZEB_PRECHECK_SCOPE();
    ZEB_PRECHECK_SCOPE(const ZEB_PRECHECK_SCOPE&) = delete;
    ZEB_PRECHECK_SCOPE& operator=(const ZEB_PRECHECK_SCOPE&) = delete;
};
