/// \file ObjectTree.h
/// Every field of a record as a tree of objects, arrays and scalars, walked
/// through the field table and handed to a sink as it goes. The tool's JSON
/// and the Python module's dictionaries are two sinks of this one walk, so
/// that both give the same names, nesting and values.
///
/// The shape: each record is an object whose members are its fields under
/// their own names, in byte order of the names. A base without a name adds
/// its fields among the record's own; the sensor's geometry base is the
/// object "geom". The sensor's "hardware" is null or the record's fields
/// with "recordKind" ("squid", "opm" or "unknown"). Each entry of a head
/// localization list is {"kind": "record", the record's fields}, {"kind":
/// "object", "fiducial": ...} or null. Lists of texts and fixed arrays are
/// arrays. Doubles go to the sink as they are, NaN and infinities included.
#pragma once

#include <fluxgrid/io/Files.h>

#include <cstdint>
#include <functional>
#include <string_view>
#include <utility>
#include <vector>

namespace fluxgrid {

/// What receives the tree, depth first.
class TreeSink {
  public:
    virtual ~TreeSink() = default;

    virtual void beginObject() = 0;
    virtual void endObject() = 0;
    virtual void beginArray() = 0;
    virtual void endArray() = 0;
    /// The name of the next member of the open object.
    virtual void key(std::string_view name) = 0;
    /// Text in UTF-8.
    virtual void string(std::string_view text) = 0;
    virtual void integer(std::int64_t value) = 0;
    virtual void unsignedInteger(std::uint64_t value) = 0;
    virtual void real(double value) = 0;
    virtual void boolean(bool value) = 0;
    virtual void null() = 0;
};

/// The members of one object, given in any order with what writes each
/// value, and handed to a sink in byte order of their keys, as the tree
/// orders them. The keys must outlive the object.
class SortedMembers {
  public:
    using Write = std::function<void(TreeSink&)>;

    void add(std::string_view key, Write write) { m_members.emplace_back(key, std::move(write)); }
    /// beginObject, each member, endObject.
    void writeTo(TreeSink& sink);

  private:
    std::vector<std::pair<std::string_view, Write>> m_members;
};

/// The tree of the object a file holds.
void writeObjectTree(TreeSink& sink, const FileObjectPtr& object);

/// The tree of one record, as it stands within the trees above: a hardware
/// record alone carries no "recordKind".
void writeObjectTree(TreeSink& sink, const CMagCoilqv& record);
void writeObjectTree(TreeSink& sink, const CMagVaporqv& record);
void writeObjectTree(TreeSink& sink, const CMegGrdBscqv& record);
void writeObjectTree(TreeSink& sink, const CMegSquidqv& record);
void writeObjectTree(TreeSink& sink, const CMegOpmqv& record);
void writeObjectTree(TreeSink& sink, const CGeomqv& record);
void writeObjectTree(TreeSink& sink, const CMEGSensorqv& record);
void writeObjectTree(TreeSink& sink, const CFiduciaryPtqv& record);
void writeObjectTree(TreeSink& sink, const CFiducialqv& record);
void writeObjectTree(TreeSink& sink, const CSphereqv& record);
void writeObjectTree(TreeSink& sink, const HEAD_LOCATION_TRIAL& record);
void writeObjectTree(TreeSink& sink, const CHeadLocalizationqv& record);

}  // namespace fluxgrid
