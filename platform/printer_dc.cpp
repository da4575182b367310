#include "platform/printer_dc.h"

#include "platform/debug_log.h"
#include "platform/device_internal.h"
#include "platform/last_error.h"

#include <cairo-pdf.h>
#include <cairo.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <memory>
#include <new>
#include <string>

namespace vardell::gdi {
namespace {

constexpr int kMaxDpi = 4800;

// Tenths of a millimetre to printer pixels, rounded.
int TenthsToPixels(int tenths, int dpi) {
  return static_cast<int>(std::lround(static_cast<double>(tenths) * dpi / 254.0));
}

class PrintJob final : public DeviceDriver {
 public:
  PrintJob(std::string path, double widthPt, double heightPt)
      : m_path(std::move(path)), m_widthPt(widthPt), m_heightPt(heightPt) {}
  ~PrintJob() override { Abort(); }

  int StartDoc(DeviceContext& dc, const DOCINFO* info);
  int StartPage(DeviceContext& dc);
  int EndPage(DeviceContext& dc);
  int EndDoc(DeviceContext& dc);
  int AbortDoc(DeviceContext& dc);

 private:
  void DropPage(DeviceContext* dc);
  void Abort();

  std::string m_path;    // the file named when the DC was made
  std::string m_output;  // the file of the job in progress
  double m_widthPt;
  double m_heightPt;
  cairo_surface_t* m_pdf = nullptr;   // non-null while a document is open
  cairo_surface_t* m_page = nullptr;  // non-null between StartPage and EndPage
  int m_pages = 0;
};

std::atomic<int> g_jobs{0};

int PrintJob::StartDoc(DeviceContext& dc, const DOCINFO* info) {
  if (m_pdf != nullptr) return SP_ERROR;
  m_output = info && info->lpszOutput && *info->lpszOutput ? info->lpszOutput : m_path;
  m_pdf = cairo_pdf_surface_create(m_output.c_str(), m_widthPt, m_heightPt);
  if (cairo_surface_status(m_pdf) != CAIRO_STATUS_SUCCESS) {
    DebugLog("StartDoc: cannot create %s: %s", m_output.c_str(),
             cairo_status_to_string(cairo_surface_status(m_pdf)));
    cairo_surface_destroy(m_pdf);
    m_pdf = nullptr;
    return SP_ERROR;
  }
  if (info && info->lpszDocName)
    cairo_pdf_surface_set_metadata(m_pdf, CAIRO_PDF_METADATA_TITLE, info->lpszDocName);
  m_pages = 0;
  dc.SetExternalSurface({});
  return g_jobs.fetch_add(1) % 0x7FFFFFFE + 1;  // a job number above 0
}

int PrintJob::StartPage(DeviceContext& dc) {
  if (m_pdf == nullptr || m_page != nullptr) return SP_ERROR;
  m_page = cairo_image_surface_create(CAIRO_FORMAT_RGB24, dc.m_caps.horzRes, dc.m_caps.vertRes);
  if (cairo_surface_status(m_page) != CAIRO_STATUS_SUCCESS) {
    cairo_surface_destroy(m_page);
    m_page = nullptr;
    return SP_ERROR;
  }
  cairo_surface_flush(m_page);
  auto* bits = reinterpret_cast<std::uint32_t*>(cairo_image_surface_get_data(m_page));
  const int stride = cairo_image_surface_get_stride(m_page) / 4;
  const Surface surface{bits, dc.m_caps.horzRes, dc.m_caps.vertRes, stride};
  for (int y = 0; y < surface.height; ++y) std::fill_n(surface.Row(y), surface.width, 0x00FFFFFFu);
  dc.SetExternalSurface(surface);
  return 1;
}

int PrintJob::EndPage(DeviceContext& dc) {
  if (m_page == nullptr) return SP_ERROR;
  cairo_surface_mark_dirty(m_page);
  cairo_t* cr = cairo_create(m_pdf);
  // One page pixel is one printer dot: 72 / dpi points.
  cairo_scale(cr, 72.0 / dc.m_caps.logPixelsX, 72.0 / dc.m_caps.logPixelsY);
  cairo_set_source_surface(cr, m_page, dc.m_caps.physicalOffsetX, dc.m_caps.physicalOffsetY);
  cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_NEAREST);
  cairo_paint(cr);
  cairo_show_page(cr);
  const cairo_status_t status = cairo_status(cr);
  cairo_destroy(cr);
  DropPage(&dc);
  if (status != CAIRO_STATUS_SUCCESS) {
    DebugLog("EndPage: %s", cairo_status_to_string(status));
    return SP_ERROR;
  }
  ++m_pages;
  return 1;
}

int PrintJob::EndDoc(DeviceContext& dc) {
  if (m_pdf == nullptr) return SP_ERROR;
  if (m_page != nullptr && EndPage(dc) == SP_ERROR) {
    Abort();
    return SP_ERROR;
  }
  cairo_surface_finish(m_pdf);
  const cairo_status_t status = cairo_surface_status(m_pdf);
  cairo_surface_destroy(m_pdf);
  m_pdf = nullptr;
  if (status != CAIRO_STATUS_SUCCESS) {
    DebugLog("EndDoc: %s", cairo_status_to_string(status));
    std::remove(m_output.c_str());
    return SP_ERROR;
  }
  return 1;
}

int PrintJob::AbortDoc(DeviceContext& dc) {
  if (m_pdf == nullptr) return SP_ERROR;
  DropPage(&dc);
  Abort();
  return 1;
}

void PrintJob::DropPage(DeviceContext* dc) {
  if (dc) dc->SetExternalSurface({});
  if (m_page) {
    // Finishing detaches any snapshot the PDF still holds, so no one reads freed pixels.
    cairo_surface_finish(m_page);
    cairo_surface_destroy(m_page);
    m_page = nullptr;
  }
}

void PrintJob::Abort() {
  DropPage(nullptr);
  if (m_pdf == nullptr) return;
  cairo_surface_finish(m_pdf);
  cairo_surface_destroy(m_pdf);
  m_pdf = nullptr;
  std::remove(m_output.c_str());
}

// The job of a printer DC, or nullptr (with the last error set).
PrintJob* JobOf(HDC hdc, DeviceContext*& dc) {
  dc = DeviceContext::Find(hdc);
  if (dc == nullptr) return nullptr;
  if (dc->m_kind != DeviceContext::Kind::Printer) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  return static_cast<PrintJob*>(dc->m_driver.get());
}

}  // namespace
}  // namespace vardell::gdi

HDC CreatePdfPrinterDC(LPCSTR pdfPath, int paperWidth, int paperHeight, int dpi, int margin) {
  using namespace vardell::gdi;
  if (pdfPath == nullptr || *pdfPath == '\0' || paperWidth <= 0 || paperHeight <= 0 || dpi <= 0 ||
      dpi > kMaxDpi || margin < 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  DeviceCaps caps;
  caps.technology = DT_RASPRINTER;
  caps.logPixelsX = caps.logPixelsY = dpi;
  caps.physicalWidth = TenthsToPixels(paperWidth, dpi);
  caps.physicalHeight = TenthsToPixels(paperHeight, dpi);
  caps.physicalOffsetX = caps.physicalOffsetY = TenthsToPixels(margin, dpi);
  caps.horzRes = caps.physicalWidth - 2 * caps.physicalOffsetX;
  caps.vertRes = caps.physicalHeight - 2 * caps.physicalOffsetY;
  if (caps.horzRes <= 0 || caps.vertRes <= 0 ||
      std::int64_t{caps.horzRes} * caps.vertRes > kMaxSurfacePixels) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  try {
    auto* dc = new DeviceContext(DeviceContext::Kind::Printer, caps);
    dc->m_driver =
        std::make_unique<PrintJob>(pdfPath, paperWidth * 72.0 / 254.0, paperHeight * 72.0 / 254.0);
    return dc->Hdc();
  } catch (const std::bad_alloc&) {
    SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
  }
}

int StartDoc(HDC hdc, const DOCINFO* info) {
  vardell::gdi::DeviceContext* dc;
  vardell::gdi::PrintJob* job = vardell::gdi::JobOf(hdc, dc);
  return job ? job->StartDoc(*dc, info) : SP_ERROR;
}

int StartPage(HDC hdc) {
  vardell::gdi::DeviceContext* dc;
  vardell::gdi::PrintJob* job = vardell::gdi::JobOf(hdc, dc);
  return job ? job->StartPage(*dc) : SP_ERROR;
}

int EndPage(HDC hdc) {
  vardell::gdi::DeviceContext* dc;
  vardell::gdi::PrintJob* job = vardell::gdi::JobOf(hdc, dc);
  return job ? job->EndPage(*dc) : SP_ERROR;
}

int EndDoc(HDC hdc) {
  vardell::gdi::DeviceContext* dc;
  vardell::gdi::PrintJob* job = vardell::gdi::JobOf(hdc, dc);
  return job ? job->EndDoc(*dc) : SP_ERROR;
}

int AbortDoc(HDC hdc) {
  vardell::gdi::DeviceContext* dc;
  vardell::gdi::PrintJob* job = vardell::gdi::JobOf(hdc, dc);
  return job ? job->AbortDoc(*dc) : SP_ERROR;
}
