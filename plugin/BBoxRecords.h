#pragma once

// The work of the three bounding-box calls, shared by their plain-named script
// exports (BBoxCalls.cpp) and their C++-named twins (BBoxCallsLinked.cpp).
//
// memBlock1 is the script's block of consecutive box records: six floats each
// (minimum x, y, z, maximum x, y, z), 24 bytes, no header, no padding. The
// block may sit at any address, so records are copied in and out with memcpy.
// size1 is the block's size where the host gives it: when it is above 0, a
// record that does not lie wholly inside [memBlock1, memBlock1 + size1) is
// neither read nor written, and the call returns -1.0. With size1 0 or below
// the block's size is the script's responsibility, as the host has always
// had it.
//
// Each function returns the call's result, 0.0 or -1.0, and may throw
// (std::bad_alloc); the exports run them through runScriptCall.

// Empties the record whose index is `number` + 0.1f truncated toward zero:
// minimum x := 0, maximum x := -1, the other four floats untouched.
// -1.0 when memBlock1 is null or the number names no record.
double clearBBoxRecord(double number, char* memBlock1, int size1);

// Record 0 := union of records 0 and 1 (BBox::add of a box); record 1 is not
// changed. -1.0 when memBlock1 is null (or the block has no room for both).
double addBBoxRecords(char* memBlock1, int size1);

// Reads the bounds of the Vek file `path` into the record at BYTE offset
// `number` + 0.1 truncated toward zero. The record receives whatever
// QMVekIO::readBBox leaves in the box, also when the read fails. -1.0 when the
// read fails, memBlock1 is null or the number names no offset.
double readBBoxRecordFromVekFile(const char* path, double number, char* memBlock1, int size1);
