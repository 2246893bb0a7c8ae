/// \file ViewPage.h
/// The page of `fluxgrid view` (ViewPage.html, made part of the tool when it
/// is built), with the markers %%TITLE%% and %%DATA%% where the title and
/// the array's JSON go.
#pragma once

namespace fluxgrid::tool {

extern const char* const kViewPage;

}  // namespace fluxgrid::tool
