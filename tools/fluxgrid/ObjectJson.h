/// \file ObjectJson.h
/// Every field of a loaded object as JSON, walked through the library's
/// field table and written as it goes: the keys are the fields' own names,
/// in byte order within each object. Doubles that JSON cannot hold as
/// numbers are written as the strings "NaN", "Infinity" and "-Infinity";
/// every other double with enough digits to come back bit for bit.
///
/// The shapes beyond plain fields: the sensor's geometry base as the object
/// "geom"; its "hardware" as null or the record's fields with "recordKind"
/// ("squid", "opm" or "unknown"); each entry of a head localization list as
/// {"kind": "record", the record's fields}, {"kind": "object", "fiducial":
/// ...} or null; lists of texts and fixed arrays as arrays.
#pragma once

#include "JsonWriter.h"

#include <fluxgrid/io/Files.h>

#include <string_view>

namespace fluxgrid::tool {

/// One document of `info --json`: "consumed", "file", "kind", "magic",
/// "object", "size" and "version". A file name that is not valid UTF-8
/// stands in "file" with its bad bytes replaced by U+FFFD, and whole in
/// "file_bytes" as lowercase hexadecimal.
void writeFileJson(JsonWriter& out, const LoadedFile& loaded);

/// The document of a file that failed: "file" (and "file_bytes") as above,
/// "code" (the library's `failureCode`), "error" (the message without the file's name),
/// "boxes" (the texts of the library's message boxes, in order), and
/// "kind", "magic" and "version" when the first bytes told them.
void writeFailureJson(JsonWriter& out, const FileError& error);

/// The object a file holds, alone.
void writeObjectJson(JsonWriter& out, const FileObjectPtr& object);

}  // namespace fluxgrid::tool
