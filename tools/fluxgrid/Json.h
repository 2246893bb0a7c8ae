/// \file Json.h
/// Every field of every model object as JSON, nested records and all. The
/// keys are the fields' own names. Doubles that JSON cannot hold as numbers
/// are written as the strings "NaN", "Infinity" and "-Infinity"; every other
/// double is written with enough digits to come back bit for bit.
#pragma once

#include "FileKinds.h"

#include <nlohmann/json.hpp>

namespace fluxgrid::tool {

nlohmann::json jsonOf(double value);
nlohmann::json jsonOf(const CString& text);

nlohmann::json toJson(const CBscMagSns& element);
nlohmann::json toJson(const CMagVapor& cell);
nlohmann::json toJson(const CMegGrdBsc& block);
nlohmann::json toJson(const CMegSquid& record);
nlohmann::json toJson(const CMegOpm& record);
nlohmann::json toJson(const CMEGSensor& sensor);
nlohmann::json toJson(const CFiduciaryPt& point);
nlohmann::json toJson(const CFiducial& set);
nlohmann::json toJson(const CSphere& sphere);
nlohmann::json toJson(const CHeadLocalization& headloc);

/// The file's name, kind, magic, version, size, the bytes the load took,
/// and under "object" the loaded object.
nlohmann::json toJson(const LoadedFile& loaded);

}  // namespace fluxgrid::tool
