#include <fluxgrid/frame/FileKinds.h>

namespace fluxgrid {

std::string acceptedVersionList(const FileKindInfo& info) {
    std::string text;
    for (std::size_t i = 0; i < info.accepted.size(); ++i) {
        if (i > 0) {
            text += (i + 1 == info.accepted.size()) ? " and " : ", ";
        }
        text += std::to_string(info.accepted[i]);
    }
    return text;
}

}  // namespace fluxgrid
