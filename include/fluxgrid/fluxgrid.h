/// \file fluxgrid.h
/// Every public class of the Fluxgrid core library.
#pragma once

#include <fluxgrid/platform/Archive.h>
#include <fluxgrid/platform/Arrays.h>
#include <fluxgrid/platform/CString.h>
#include <fluxgrid/platform/Exceptions.h>
#include <fluxgrid/platform/File.h>
#include <fluxgrid/platform/MessageBox.h>
#include <fluxgrid/platform/Module.h>
#include <fluxgrid/platform/Types.h>

#include <fluxgrid/frame/FileFrame.h>
#include <fluxgrid/frame/FileKinds.h>

#include <fluxgrid/element/BscMagSns.h>
#include <fluxgrid/element/MagCoil.h>
#include <fluxgrid/element/MagVapor.h>

#include <fluxgrid/records/CoordinateProcess.h>
#include <fluxgrid/records/Fiducial.h>
#include <fluxgrid/records/FiduciaryPt.h>
#include <fluxgrid/records/Geom.h>
#include <fluxgrid/records/Sphere.h>

#include <fluxgrid/sensor/MEGSensor.h>
#include <fluxgrid/sensor/MegGrdBsc.h>
#include <fluxgrid/sensor/MegOpm.h>
#include <fluxgrid/sensor/MegOpmNamePosType.h>
#include <fluxgrid/sensor/MegSquid.h>

#include <fluxgrid/headloc/FiducialPtrArray.h>
#include <fluxgrid/headloc/HeadLocalization.h>
#include <fluxgrid/headloc/HeadLocationTrial.h>

#include <fluxgrid/tables/EegLayouts.h>
#include <fluxgrid/tables/EegNamePosType.h>
#include <fluxgrid/tables/Layouts.h>
#include <fluxgrid/tables/MegLayouts.h>

#include <fluxgrid/channels/ChannelTypes.h>

#include <fluxgrid/geometry/Check.h>

#include <fluxgrid/fields/FieldTable.h>
#include <fluxgrid/fields/ObjectTree.h>

#include <fluxgrid/io/Files.h>
