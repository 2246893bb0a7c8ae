/// \file HeadLocationTrial.h
/// The record kind of the head localization lists: three values, a tag and
/// a fiducial set. A file read builds its entries as these records. The
/// four numbers have no meaning here: they pass from host to file and back.
#pragma once

#include <fluxgrid/records/Fiducial.h>

struct HEAD_LOCATION_TRIAL {
    double trialValue1 = 0.0;
    double trialValue2 = 0.0;
    double trialValue3 = 0.0;
    int trialTag = 0;
    CFiducialqv trialFiducial;
};
