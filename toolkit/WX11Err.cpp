// Errors of the server arrive late, in the handler. Windows that vanish at
// the wrong moment are normal and dropped; everything else is reported as
// message (WX11Err, code) with errors ignored: the request that failed has
// long been answered. A broken connection ends the program.
#include "toolkit/WX11Err.h"

#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "base/Messages.h"
#include "base/SPrintf.h"
#include "toolkit/WX11Disp.h"

namespace {

char section[kSectionCap] = "WX11Err";
bool hintsShown = false;

constexpr unsigned char kBadWindow = 3;
constexpr unsigned char kBadDrawable = 9;
constexpr unsigned char kGetWindowAttributes = 3;
constexpr unsigned char kGetGeometry = 14;

void SupplyNumber(const char* templateText, long value) {
  TextStr text;
  Strings_Assign(StrIn::C(templateText), text);
  SPrintf_Int64(text, value);
  Messages_SupplyAdditionalInfo(text);
}

void SupplyText(const char* templateText, const char* value) {
  TextStr text;
  Strings_Assign(StrIn::C(templateText), text);
  SPrintf_String(text, StrIn::C(value != nullptr ? value : ""));
  Messages_SupplyAdditionalInfo(text);
}

int ErrorHandler(Display* display, XErrorEvent* error) {
  W_wlibError = 2;
  W_srvErrorEv = error->error_code;
  if ((error->error_code == kBadWindow || error->error_code == kBadDrawable) &&
      (error->request_code == kGetWindowAttributes || error->request_code == kGetGeometry))
    return 0;
  if (std::getenv("TEST") != nullptr) {
    char text[256];
    XGetErrorText(display, error->error_code, text, sizeof text);
    std::fprintf(stderr, "X error: %s\n", text);
    std::fprintf(stderr, "Request code (minor): %d (%d), Resource/Window ID: %d\n",
                 error->request_code, error->minor_code, static_cast<int>(error->resourceid));
    if (!hintsShown) {
      hintsShown = true;
      std::fputs("    Hint: Set env var 'Synchronize' to locate the error in a debugger.\n", stderr);
      std::fputs("    (And set a breakpoint to WX11Err_ErrorHandler.)\n", stderr);
    }
  }
  Messages_IgnoreErrors(true);
  Messages_Error(section, error->error_code);  // messages: WX11Err 1-17
  Messages_IgnoreErrors(false);
  Messages_ForgetErrorReasons();
  return 0;
}

// Tells what can be known about the broken connection and ends the program.
int IOErrorHandler(Display* display) {
  const int savedErrno = errno;
  TextStr text;
  Strings_Assign("errno = %d", text);
  SPrintf_Int(text, savedErrno);
  Strings_Concat(text, " ", text);
  Strings_Concat(text, StrIn::C(std::strerror(savedErrno)), text);
  Messages_SupplyAdditionalInfo(text);
  SupplyText("SSH_CONNECTION = %s", std::getenv("SSH_CONNECTION"));
  SupplyText("displayname = %s", DisplayString(display));
  const int fd = ConnectionNumber(display);
  int count = 0;
  if (::ioctl(fd, FIONREAD, &count) == 0) SupplyNumber("Number of bytes to read = %d", count);
  if (::ioctl(fd, TIOCOUTQ, &count) == 0) SupplyNumber("Number of bytes to write = %d", count);
  pollfd probe{fd, POLLIN, 0};
  if (::poll(&probe, 1, 8000) > 0) {
    char byte;
    const ssize_t got = ::read(fd, &byte, 1);
    if (got == 0) Messages_SupplyAdditionalInfo("read 0 bytes from socket connection. maybe broken?");
    else if (got > 0) SupplyNumber("read %d bytes from socket connection", got);
    else SupplyNumber("read error %d", errno);
  }
  WX11Disp_CloseDisplayAtIOError();
  Messages_Error(section, 18);
  return 0;
}

}  // namespace

void WX11Err_InstallHandlers() {
  XSetErrorHandler(ErrorHandler);
  XSetIOErrorHandler(IOErrorHandler);
}
