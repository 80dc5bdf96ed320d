// librsvg renders the SVG onto a surface of cairo, which writes the PNG or the PDF.

#include <cairo-pdf.h>
#include <cairo.h>
#include <librsvg/rsvg.h>

#include <cmath>
#include <cstddef>
#include <memory>
#include <string_view>

#include "console/picture.h"

namespace lisp_worker::console {
namespace {

struct Release {
  void operator()(RsvgHandle* handle) const { g_object_unref(handle); }
  void operator()(GError* failure) const { g_error_free(failure); }
  void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
  void operator()(cairo_t* pen) const { cairo_destroy(pen); }
};

template <typename T>
using Owned = std::unique_ptr<T, Release>;

cairo_status_t appendBytes(void* bytes, const unsigned char* data, unsigned int size) {
  static_cast<std::string*>(bytes)->append(reinterpret_cast<const char*>(data), size);
  return CAIRO_STATUS_SUCCESS;
}

std::string failureText(const char* reason) {
  return std::string("the picture cannot be rendered: ") + reason;
}

// Null with the reason in `error` for a text that is too long or no SVG.
Owned<RsvgHandle> readSvg(const std::string& svg, double pixels_per_inch, std::string& error) {
  if (svg.size() > kRenderedSizeMax) {
    error = "the picture has more than 16 MiB of shapes to render; write it as .svg";
    return nullptr;
  }
  GError* failure = nullptr;
  Owned<RsvgHandle> handle(rsvg_handle_new_from_data(
      reinterpret_cast<const unsigned char*>(svg.data()), svg.size(), &failure));
  if (handle == nullptr) {
    const Owned<GError> owned(failure);
    error = failureText(failure->message);
  } else {
    rsvg_handle_set_dpi(handle.get(), pixels_per_inch);
  }
  return handle;
}

// In pixels; those of a size in millimetres count by the handle's own resolution.
RsvgRectangle pageOf(RsvgHandle* handle) {
  RsvgRectangle page = {0, 0, 0, 0};
  rsvg_handle_get_intrinsic_size_in_pixels(handle, &page.width, &page.height);
  return page;
}

bool hasTrueSize(RsvgHandle* handle) {
  gboolean has_width = 0;
  gboolean has_height = 0;
  gboolean has_box = 0;
  RsvgLength width = {0, RSVG_UNIT_PX};
  RsvgLength height = {0, RSVG_UNIT_PX};
  RsvgRectangle box = {0, 0, 0, 0};
  rsvg_handle_get_intrinsic_dimensions(handle, &has_width, &width, &has_height, &height, &has_box,
                                       &box);
  return has_width != 0 && width.unit == RSVG_UNIT_MM;
}

bool render(RsvgHandle* handle, cairo_surface_t* surface, const RsvgRectangle& page, double factor,
            std::string& error) {
  const Owned<cairo_t> pen(cairo_create(surface));
  cairo_scale(pen.get(), factor, factor);
  GError* failure = nullptr;
  if (rsvg_handle_render_document(handle, pen.get(), &page, &failure) != 0) return true;
  const Owned<GError> owned(failure);
  error = failureText(failure->message);
  return false;
}

// A PNG file that says how many pixels a metre has. cairo writes none of that. The chunk lies
// behind the header, and never changes; its end is its checksum.
std::string withResolution(std::string png) {
  static_assert(kPixelsPerInch == 200);
  constexpr std::string_view kChunk("\0\0\0\x09pHYs\0\0\x1E\xC2\0\0\x1E\xC2\x01\x6E\xD0\x75\x3E",
                                    21);
  constexpr std::size_t kHeaderSize = 8 + 25;
  return png.insert(kHeaderSize, kChunk);
}

}  // namespace

std::optional<std::string> renderPng(const std::string& svg, std::string& error) {
  const Owned<RsvgHandle> handle = readSvg(svg, kPixelsPerInch, error);
  if (handle == nullptr) return std::nullopt;
  const RsvgRectangle page = pageOf(handle.get());
  const Owned<cairo_surface_t> surface(
      cairo_image_surface_create(CAIRO_FORMAT_ARGB32, static_cast<int>(std::ceil(page.width)),
                                 static_cast<int>(std::ceil(page.height))));
  if (!render(handle.get(), surface.get(), page, 1, error)) return std::nullopt;
  std::string bytes;
  const cairo_status_t status =
      cairo_surface_write_to_png_stream(surface.get(), appendBytes, &bytes);
  if (status != CAIRO_STATUS_SUCCESS) {
    error = failureText(cairo_status_to_string(status));
    return std::nullopt;
  }
  return hasTrueSize(handle.get()) ? withResolution(std::move(bytes)) : bytes;
}

std::optional<std::string> renderPdf(const std::string& svg, std::string& error) {
  constexpr double kPixelsPerInchOfWeb = 96;
  constexpr double kPointsPerPixel = 72 / kPixelsPerInchOfWeb;
  const Owned<RsvgHandle> handle = readSvg(svg, kPixelsPerInchOfWeb, error);
  if (handle == nullptr) return std::nullopt;
  const RsvgRectangle page = pageOf(handle.get());
  std::string bytes;
  const Owned<cairo_surface_t> surface(cairo_pdf_surface_create_for_stream(
      appendBytes, &bytes, page.width * kPointsPerPixel, page.height * kPointsPerPixel));
  // Without a date the same picture has the same bytes tomorrow.
  cairo_pdf_surface_set_metadata(surface.get(), CAIRO_PDF_METADATA_CREATE_DATE, nullptr);
  if (!render(handle.get(), surface.get(), page, kPointsPerPixel, error)) return std::nullopt;
  cairo_surface_finish(surface.get());
  const cairo_status_t status = cairo_surface_status(surface.get());
  if (status != CAIRO_STATUS_SUCCESS) {
    error = failureText(cairo_status_to_string(status));
    return std::nullopt;
  }
  return bytes;
}

}  // namespace lisp_worker::console
