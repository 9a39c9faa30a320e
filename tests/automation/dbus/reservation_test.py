"""How a client makes sure that connecting takes nothing from others."""

import unittest

from private_bus import PASSWORD, ROLE, BusTest, Database, until, variant


def reserve(client, connect_string):
    return client.automation.call("Reserve", "s", connect_string)


class Reservation(BusTest):
    def setUp(self):
        super().setUp()
        self.db = self.database()
        self.db.add_components([(7, "Seven")])

    def test_is_one_client_s_until_it_leaves(self):
        first, second = self.client(), self.client()
        self.assertIs(reserve(first, self.db.connect_string), True)
        self.assertIs(reserve(first, self.db.connect_string), True)
        self.assertIs(reserve(second, self.db.connect_string), False)
        first.close()
        until(lambda: reserve(second, self.db.connect_string), "the leaving of the first")

    def test_keeps_nobody_from_connecting(self):
        first, second = self.client(), self.client()
        self.assertIs(reserve(first, self.db.connect_string), True)
        self.connected_server(second, self.db)

    def test_is_refused_where_another_database_is_connected(self):
        other = Database(self.folder / "other")
        client, waiting = self.client(), self.client()
        server = self.connected_server(client, other)
        self.assertIs(reserve(waiting, self.db.connect_string), False)
        # What SetConnection adds to a string makes no difference.
        self.assertIs(reserve(waiting, other.connect_string), True)
        self.assertIs(server.get("Initialized"), True)

    def test_is_possible_again_when_the_connection_is_closed(self):
        client, waiting = self.client(), self.client()
        server = self.connected_server(client, Database(self.folder / "other"))
        client.release(server)
        self.assertIs(reserve(waiting, self.db.connect_string), True)

    def test_is_refused_while_a_record_is_maintained(self):
        client, waiting = self.client(), self.client()
        server = self.connected_server(client, self.db)
        components = self.collection(server, "Components")
        record = server.at(components.call("Item", "v", variant("s", "C7")), "Component")
        self.assertIs(record.call("LockRecord"), True)
        self.assertIs(reserve(waiting, self.db.connect_string), False)
        self.assertIs(record.call("ReleaseRecord"), True)
        self.assertIs(reserve(waiting, self.db.connect_string), True)

    def test_shows_its_string_to_nobody(self):
        client = self.client()
        server = client.create("Server")
        string = f"Provider=Nonsense;Password={PASSWORD}"
        self.assertIs(reserve(client, string), True)
        self.assertIs(server.call("SetConnection", "sss", string, ROLE, PASSWORD), False)
        self.assertNotIn(PASSWORD, server.get("LastErrorMsg"))
        self.assertNotIn(PASSWORD, self.log.read_text())


if __name__ == "__main__":
    unittest.main()
