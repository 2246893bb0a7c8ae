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

#include <fluxgrid/access/Files.h>

namespace fluxgrid::tool {

/// One document of `info --json`: "consumed", "file", "kind", "magic",
/// "object", "size" and "version".
void writeFileJson(JsonWriter& out, const LoadedFile& loaded);

/// The document of a file that failed: "error" and "file".
void writeFailureJson(JsonWriter& out, const FileError& error);

/// The object a file holds, alone.
void writeObjectJson(JsonWriter& out, const FileObjectPtr& object);

}  // namespace fluxgrid::tool
