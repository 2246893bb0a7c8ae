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

#include <fluxgrid/element/BscMagSns.h>
#include <fluxgrid/element/MagCoil.h>
#include <fluxgrid/element/MagVapor.h>
