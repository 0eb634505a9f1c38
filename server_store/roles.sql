-- Who may do what in the stores of teams: `GRANT project_share_editors TO anna` lets Anna edit all projects of this
-- database, `GRANT project_share_sharers TO ben` lets Ben see them and share. Roles are the whole server's: in its second
-- database the two that make them are left out.
CREATE ROLE project_share_editors NOLOGIN;
CREATE ROLE project_share_sharers NOLOGIN;

GRANT USAGE ON SCHEMA project_share TO project_share_editors, project_share_sharers;
GRANT SELECT ON project_share.project, project_share.item, project_share.edit
  TO project_share_editors, project_share_sharers;
-- The log is only ever added to.
GRANT INSERT, UPDATE (revision, content, closed) ON project_share.project TO project_share_editors;
GRANT INSERT, DELETE ON project_share.item TO project_share_editors;
GRANT INSERT ON project_share.edit TO project_share_editors;
