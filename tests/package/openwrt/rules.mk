# Stands in for a build tree: just enough of its macros to prepare the sources of a package, to
# install it below IMAGE, and to print what it declares.
INSTALL_DIR := install -d -m 755
INSTALL_BIN := install -m 755
INSTALL_CONF := install -m 644
