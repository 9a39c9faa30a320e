"""How a client finds a PC without loading the register."""

import unittest

from private_bus import BusTest, own_error, variant


class FindPCs(BusTest):
    def setUp(self):
        super().setUp()
        self.db = self.database()
        self.db.add_pcs([("AA", "PC1", 7), ("BB", "PC1", 8), ("CC", "PC2", 7)])

    def find(self, client, name):
        return client.automation.call("FindPCs", "s", name)

    def test_tells_the_keys_of_the_rows(self):
        client = self.client()
        self.connected_server(client, self.db)
        self.assertEqual(self.find(client, "pc1"), [("AA", "PC1", 7), ("BB", "PC1", 8)])
        self.assertEqual(self.find(client, "CC"), [("CC", "PC2", 7)])
        self.assertEqual(self.find(client, "none"), [])

    def test_does_not_wait_for_a_row_that_is_maintained(self):
        holder = self.client()
        server = self.connected_server(holder, self.db)
        register = self.collection(server, "RegisteredPCs")
        key = variant("s", "AA\u00fePC1\u00fe7")
        record = server.at(register.call("Item", "v", key), "RegisteredPC")
        self.assertIs(record.call("LockRecord"), True)
        self.assertEqual(self.find(self.client(), "AA"), [("AA", "PC1", 7)])

    def test_fails_without_a_connection(self):
        self.assert_fails(own_error("ObjectNotSet"), self.find, self.client(), "AA")


if __name__ == "__main__":
    unittest.main()
