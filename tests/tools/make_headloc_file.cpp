// Writes a large head localization file for measuring what the tool needs
// to read it: the library's default fiducials over many time steps of a
// slowly drifting head, each step one entry of `fiducialPA` with a label,
// stored through the library's own entry. The default of 650 steps makes
// a file of about 1 MB.
//
//   make_headloc_file OUT [STEPS]
#include <fluxgrid/fluxgrid.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <string>

int main(int argc, char** argv) {
    if (argc < 2 || argc > 3) {
        std::cerr << "usage: make_headloc_file OUT [STEPS]\n";
        return 2;
    }
    const int steps = argc == 3 ? std::atoi(argv[2]) : 650;
    if (steps <= 0) {
        std::cerr << "make_headloc_file: STEPS must be a positive number\n";
        return 2;
    }
    CHeadLocalizationqv h;
    h.initDefaultHeadLocalParams();
    for (int t = 0; t < steps; ++t) {
        auto* set = new CFiducialqv(h.fiducialFirst);
        for (CFiduciaryPtqv& point : set->fidPts) {
            point.setFidPtPosition(point.ptValues[4] + 0.001 * t, point.ptValues[5] - 0.002 * t,
                                   point.ptValues[6] + 0.003 * t);
        }
        h.fiducialPA.Add(set);
        h.headLocalLabels.Add(CString("step ") + CString(std::to_string(t)));
    }
    h.setHeadLocalizeTime(steps - 1);
    h.headLocalText = "make_headloc_file: default fiducials over many time steps";

    CMemFile file;
    int stored = 0;
    {
        CArchive ar(&file, CArchive::store);
        stored = h.serializeqv(ar);
        ar.Close();
    }
    if (stored == 0) {
        std::cerr << "make_headloc_file: the library refused to store the head localization\n";
        return 1;
    }
    const std::vector<BYTE> bytes = file.Data();
    std::ofstream out(argv[1], std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()),
              static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out) {
        std::cerr << "make_headloc_file: cannot write " << argv[1] << '\n';
        return 1;
    }
    std::cout << argv[1] << ": " << steps << " steps, " << bytes.size() << " bytes\n";
    return 0;
}
