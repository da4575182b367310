// Printer device contexts whose documents become PDF files.
//
// A printer DC draws each page into a page surface of the printer's resolution (32-bit pixels,
// cleared to white by StartPage); EndPage writes the page into the PDF as one image placed at
// that resolution, so a pixel drawn at (x, y) lands (x + PHYSICALOFFSETX, y + PHYSICALOFFSETY)
// printer pixels from the paper's top-left corner. Between pages, drawing fails as a DC without
// a surface does.
//
// Life of a job: StartDoc (opens the file: the DOCINFO's lpszOutput when given, else the path
// the DC was made with), then StartPage / draw / EndPage for each page, then EndDoc (finishes the
// file). AbortDoc, or deleting the DC before EndDoc, abandons the job and removes the file.
#pragma once

#include "platform/dc.h"
#include "platform/export.h"
#include "platform/win_types.h"

// A printer DC for paper of paperWidth x paperHeight tenths of a millimetre (as the platform's
// DEVMODE gives paper sizes: A4 is 2100 x 2970) at dpi dots per inch in both directions, with an
// unprintable margin of margin tenths of a millimetre on every side. The drawable area (HORZRES x
// VERTRES) is the paper less the margins, in printer pixels. NULL for a null or empty path, a
// non-positive size or resolution, a resolution above 4800, margins that leave nothing, or a page
// of more than 2^28 pixels.
VARDELL_API HDC CreatePdfPrinterDC(LPCSTR pdfPath, int paperWidth, int paperHeight, int dpi,
                                   int margin = 0);
