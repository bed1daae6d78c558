/* Reads a configuration: read FILE */
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "neb_xml.h"

static void show(const XmlNode *interface) {
  const char *name = NULL;
  XmlNode *mtu;
  XmlNode *speed;
  uint32_t bytes = 0;
  uint32_t megabits = 0;

  NEB_XML_GetAttr(interface, NULL, "name", &name);
  if (NEB_XML_GetNodeByUrl(interface, "interface.mtu", &mtu) == NEB_XML_OK) {
    NEB_XML_ReadValue(mtu, NEB_XML_VALUE_UINT32, &bytes);
  }
  printf("%-12s mtu %u", name != NULL ? name : "?", bytes);
  /* Not every interface has a speed. */
  if (NEB_XML_GetNodeByUrl(interface, "interface.speed", &speed) == NEB_XML_OK &&
      NEB_XML_ReadValue(speed, NEB_XML_VALUE_UINT32, &megabits) == NEB_XML_OK) {
    printf(", %u Mbit/s", megabits);
  }
  printf("\n");
}

/* Only an error in the document has a line, and only a failed call of the system an errno. */
static void report(const char *path, const NEB_XML_PARSE_ERROR *error) {
  fprintf(stderr, "%s:", path);
  if (error->line != 0) fprintf(stderr, "%zu:%zu:", error->line, error->column);
  fprintf(stderr, " %s", error->reason);
  if (error->systemError != 0) fprintf(stderr, ": %s", strerror((int)error->systemError));
  fprintf(stderr, "\n");
}

int main(int argc, char **argv) {
  const char *path = argc > 1 ? argv[1] : "examples/samples/device.xml";
  XmlNode *device;
  XmlNode *interfaces;
  NEB_XML_PARSE_ERROR error;

  if (NEB_XML_Load(path, NULL, &device, &error) != NEB_XML_OK) {
    report(path, &error);
    return EXIT_FAILURE;
  }
  if (NEB_XML_GetNodeByUrl(device, "device.interfaces", &interfaces) == NEB_XML_OK) {
    const XmlNode *child = NEB_XML_GetNodeFirstChild(interfaces);
    for (; child != NULL; child = NEB_XML_GetNodeNextSibling(child)) show(child);
  }
  NEB_XML_FreeNode(device);
  return EXIT_SUCCESS;
}
