#pragma once

namespace sorn::store::sqlite {

// A file system layer of SQLite over its own `unix-excl`: each commit's frames go to the write-ahead log in
// one piece, where SQLite by itself calls the system twice a page. The bytes, their places and the moments at
// which they are synchronised stay the same, so both layers may open one file side by side.

// The layer's name for `sqlite3_open_v2`, made known to SQLite on the first call. Any thread.
const char* logGatheringLayer();

}  // namespace sorn::store::sqlite
