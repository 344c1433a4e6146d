// WX11Err: what happens when the X server reports an error or the connection
// breaks.
#pragma once

// Installs the error handler and the fatal connection handler. While "TEST"
// is set, X errors are also told on standard error.
void WX11Err_InstallHandlers();
