#include "manager/Floatdeck.h"

int main(int argc, char** argv) { Floatdeck_Main(argc, argv); }
