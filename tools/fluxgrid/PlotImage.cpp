#include "PlotImage.h"

#include <cairo-pdf.h>
#include <cairo.h>
#include <librsvg/rsvg.h>

#include <algorithm>
#include <cctype>
#include <memory>
#include <stdexcept>

namespace fluxgrid::tool {

namespace {

constexpr double kPngScale = 2.0;
// CSS pixels to PDF points: 96 to 72 per inch.
constexpr double kPointsPerPixel = 0.75;

struct HandleRelease {
    void operator()(RsvgHandle* handle) const { g_object_unref(handle); }
};
struct SurfaceRelease {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
};
struct ContextRelease {
    void operator()(cairo_t* context) const { cairo_destroy(context); }
};
using Handle = std::unique_ptr<RsvgHandle, HandleRelease>;
using Surface = std::unique_ptr<cairo_surface_t, SurfaceRelease>;
using Context = std::unique_ptr<cairo_t, ContextRelease>;

std::runtime_error failure(const char* what, GError* error) {
    std::string message = std::string("cannot render the drawing: ") + what;
    if (error != nullptr) {
        message += std::string(": ") + error->message;
        g_error_free(error);
    }
    return std::runtime_error(message);
}

cairo_status_t appendBytes(void* closure, const unsigned char* data, unsigned int length) {
    static_cast<std::string*>(closure)->append(reinterpret_cast<const char*>(data), length);
    return CAIRO_STATUS_SUCCESS;
}

void checkStatus(cairo_status_t status) {
    if (status != CAIRO_STATUS_SUCCESS) {
        throw failure(cairo_status_to_string(status), nullptr);
    }
}

// Draws the whole document into `context`, `scale` units to a pixel.
void renderOnto(RsvgHandle* handle, cairo_t* context, double width, double height, double scale) {
    cairo_scale(context, scale, scale);
    const RsvgRectangle viewport{0, 0, width, height};
    GError* error = nullptr;
    if (!rsvg_handle_render_document(handle, context, &viewport, &error)) {
        throw failure("rendering failed", error);
    }
    checkStatus(cairo_status(context));
}

}  // namespace

std::optional<PlotFormat> plotFormatFor(std::string_view out) {
    const std::size_t slash = out.find_last_of('/');
    const std::string_view base = slash == std::string_view::npos ? out : out.substr(slash + 1);
    const std::size_t dot = base.find_last_of('.');
    if (dot == std::string_view::npos || dot == 0) {
        return PlotFormat::svg;
    }
    std::string extension(base.substr(dot + 1));
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    if (extension == "svg") {
        return PlotFormat::svg;
    }
    if (extension == "png") {
        return PlotFormat::png;
    }
    if (extension == "pdf") {
        return PlotFormat::pdf;
    }
    return std::nullopt;
}

const char* plotExtensions() {
    return ".svg, .png or .pdf";
}

std::string renderPlot(const std::string& svg, PlotFormat format) {
    if (format == PlotFormat::svg) {
        return svg;
    }
    GError* error = nullptr;
    const Handle handle(
        rsvg_handle_new_from_data(reinterpret_cast<const guint8*>(svg.data()), svg.size(), &error));
    if (!handle) {
        throw failure("the SVG cannot be read", error);
    }
    double width = 0;
    double height = 0;
    if (!rsvg_handle_get_intrinsic_size_in_pixels(handle.get(), &width, &height)) {
        throw failure("the SVG has no size in pixels", nullptr);
    }

    std::string bytes;
    if (format == PlotFormat::png) {
        const Surface surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32,
                                                         static_cast<int>(width * kPngScale),
                                                         static_cast<int>(height * kPngScale)));
        checkStatus(cairo_surface_status(surface.get()));
        {
            const Context context(cairo_create(surface.get()));
            renderOnto(handle.get(), context.get(), width, height, kPngScale);
        }
        checkStatus(cairo_surface_write_to_png_stream(surface.get(), appendBytes, &bytes));
        return bytes;
    }
    const Surface surface(cairo_pdf_surface_create_for_stream(
        appendBytes, &bytes, width * kPointsPerPixel, height * kPointsPerPixel));
    checkStatus(cairo_surface_status(surface.get()));
    {
        const Context context(cairo_create(surface.get()));
        renderOnto(handle.get(), context.get(), width, height, kPointsPerPixel);
    }
    cairo_surface_finish(surface.get());
    checkStatus(cairo_surface_status(surface.get()));
    return bytes;
}

}  // namespace fluxgrid::tool
