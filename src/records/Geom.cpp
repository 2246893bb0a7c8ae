#include <fluxgrid/records/Geom.h>

CGeomqv::CGeomqv()
    : geomWordA(0),
      geomWordB(0),
      geomWordC(0),
      geomFlag(0),
      geomTailA(0),
      geomTailB(0),
      geomTailC(0) {}

CGeomqv::~CGeomqv() = default;
