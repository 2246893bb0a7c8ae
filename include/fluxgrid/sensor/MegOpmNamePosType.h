/// \file MegOpmNamePosType.h
/// One row of a channel layout: a name, a position, an orientation and a
/// channel type code. Hosts fill it, the MEG layout tables are made of it,
/// and `CMEGSensor::setAcqSnsParam` reads it to place one element.
#pragma once

#include <fluxgrid/platform/CString.h>

struct MEG_OPM_NAME_POS_TYPE {
    CString name;
    double posX;
    double posY;
    double posZ;
    double ornX;
    double ornY;
    double ornZ;
    /// Channel type code, as `CMEGSensor::getSensorTypeName` names it.
    /// `setAcqSnsParam` does not read it.
    int sensorType;
};
