/* Edits a configuration and saves it: edit FILE OUT */
#include <stdio.h>
#include <stdlib.h>

#include "neb_xml.h"

/* Each step runs only if all steps before it succeeded. */
static uint32_t edit(XmlNode *device) {
  const uint16_t mtu = 9000;
  XmlNode *node;
  XmlNode *added;
  uint32_t result;

  result = NEB_XML_GetNodeByUrl(device, "device.interfaces.interface.2.mtu", &node);
  if (result == NEB_XML_OK) result = NEB_XML_WriteValue(node, NEB_XML_VALUE_UINT16, &mtu);
  if (result == NEB_XML_OK) result = NEB_XML_AddAttr(node, NULL, "unit", "bytes");

  if (result == NEB_XML_OK) {
    result = NEB_XML_GetNodeByUrl(device, "device.users.user.2", &node);
  }
  if (result == NEB_XML_OK) NEB_XML_FreeNode(node);

  if (result == NEB_XML_OK) result = NEB_XML_GetNodeByUrl(device, "device.services.ntp", &node);
  if (result == NEB_XML_OK) {
    result = NEB_XML_CreateNode(NEB_XML_NODE_ELEMENT, NULL, "server", "ntp3.example.net", &added);
  }
  if (result != NEB_XML_OK) return result;
  result = NEB_XML_AppendChildNode(node, added);
  if (result != NEB_XML_OK) NEB_XML_FreeNode(added); /* it was not appended, so it is still ours */
  return result;
}

int main(int argc, char **argv) {
  const NEB_XML_PRINT_OPTIONS options = {sizeof options, 0, 2};
  XmlNode *device;
  uint32_t result;

  if (argc != 3) {
    fprintf(stderr, "usage: edit FILE OUT\n");
    return EXIT_FAILURE;
  }
  result = NEB_XML_Load(argv[1], NULL, &device, NULL);
  if (result == NEB_XML_OK) {
    result = edit(device);
    /* Replaces the file atomically, with two spaces for each level. */
    if (result == NEB_XML_OK) result = NEB_XML_Save(device, argv[2], &options);
    /* Frees the document and all nodes in it, including the one from CreateNode. */
    NEB_XML_FreeNode(device);
  }
  if (result != NEB_XML_OK) fprintf(stderr, "%s: %s\n", argv[1], NEB_XML_GetErrorText(result));
  return result == NEB_XML_OK ? EXIT_SUCCESS : EXIT_FAILURE;
}
