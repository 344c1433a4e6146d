// WFstatusView: showing a file that lies in a folder or in the error
// directory, in the viewer its name calls for:
//
//   images  the image viewer program "imgview" installed beside this
//           program (MARLLIB/bin), which reads the image line by line and
//           shows it reduced to fit its window; display mode 1 is its quick
//           form, and a pair of images shows side by side in one window
//   PDF     the command the site names in the global settings file
//           (".tavrinrc" in TV_CUSTOMER) under WFstatus_pdfViewerKey; "%s"
//           in it stands for the file, else the file is put behind it
//   text    the text viewer ITxtView, in this process
//
// Commands run in the background through TVFEbase_StartACommand, every name
// shell-escaped, so names with blanks, quotes, "$" or line feeds reach the
// viewer intact. A viewer that can't be started, and a PDF file while the
// site names no viewer, show message 18 of "WFstatus" (naming the setting);
// a job ticket that names no image shows message 29.
#pragma once

#include <cstdint>

#include "base/Strings.h"

// The viewers, as WFstatus_GetViewer answers.
inline constexpr std::uint8_t WFstatus_viewImage = 1;
inline constexpr std::uint8_t WFstatus_viewPDF = 2;
inline constexpr std::uint8_t WFstatus_viewText = 3;

// The display mode of a folder (its option "DISPLAYMODE"): 1 asks the image
// viewer for its quick form; any other value for the normal one.
inline constexpr std::uint32_t WFstatus_displayQuick = 1;

// The site setting (a string of the global settings file) that holds the
// PDF viewer's command.
inline constexpr char WFstatus_pdfViewerKey[] = "WFstatus_pdfViewer";

// By the name's suffix: ".txt" text, ".pdf" PDF (either case), anything else
// an image.
std::uint8_t WFstatus_GetViewer(StrIn name);

// Shows the file `name` of `directory` in its viewer; a job ticket ("*.jt?",
// "*.jt??") shows the image it names. False, with the message shown, when
// the file could not be shown.
bool WFstatus_DisplayFile(StrIn directory, StrIn name, std::uint32_t displayMode);
// Shows two images of `directory` side by side in one image viewer window:
// a continuous-tone image and its line-work partner, or the two files of a
// coupled pair. False, with the message shown, when the viewer did not start.
bool WFstatus_DisplayCTLW(StrIn directory, StrIn first, StrIn second, std::uint32_t displayMode);
// Shows the PDF file `path` (a preflight log, an error's log) in the site's
// PDF viewer; false, with the message shown, when that was not possible.
bool WFstatus_DisplayPDF(StrIn path);
// Takes the text viewer down, when the window that opened it closes.
void WFstatus_HideViewers();
