-- Removes the edits of a project's log before a revision, which has to be one that the log has. Nothing else of the
-- project changes; who has not looked since loads it anew, and what was removed cannot be taken back with `undo`.
--   psql -v ON_ERROR_STOP=1 -1 -v project=NAME -v first=REVISION -f trim.sql DATABASE
UPDATE project_share.project SET floor = :first WHERE name = convert_to(:'project', 'UTF8') AND floor < :first;
DELETE FROM project_share.edit USING project_share.project
  WHERE edit.project = project.id AND name = convert_to(:'project', 'UTF8') AND edit.revision < project.floor;
